#include "host/safe_edit/guard_types.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/kit/text.h"
#include "host/safe_edit/encoded_words.h"
#include "host/safe_edit/outline_fields.h"
#include "host/safe_edit/value_scanner.h"

namespace zevka::host {

namespace {

using Texts = std::vector<std::string>;

// Every value of a parameter, plain or in pieces, in lower case.
void AddValues(const std::vector<OutlineParameter>& parameters, std::string_view lowerName,
               Texts* values) {
  const auto add = [values](std::string_view value) {
    values->push_back(Lower(DecodedWords(value)));
  };
  std::vector<OutlineParameter> pieces;
  for (const OutlineParameter& parameter : parameters) {
    if (parameter.name == lowerName) {
      add(parameter.value);
    } else if (parameter.name.starts_with(lowerName)) {
      pieces.push_back(parameter);
    }
  }
  if (const std::optional<std::string> joined = JoinedParameter(pieces, lowerName)) {
    add(*joined);
  }
}

// Words that look like a guarded media type, wherever in a value they stand without quotes.
void AddStrayTypes(std::string_view value, Texts* types) {
  ValueScanner scanner(value);
  for (scanner.SkipBlanksAndComments(); !scanner.AtEnd(); scanner.SkipBlanksAndComments()) {
    const std::string_view word = scanner.TakeWord(";,=:<>");
    if (word.empty() && !scanner.TakeQuoted()) {
      scanner.SkipOne();
    }
    if (word.find('/') == std::string_view::npos) {
      continue;
    }
    if (std::string type = Lower(word);
        type.starts_with("application/") || type.starts_with("multipart/")) {
      types->push_back(std::move(type));
    }
  }
}

void AddNames(const std::vector<OutlineParameter>& parameters, TypeClaims* claims) {
  AddValues(parameters, "name", &claims->names);
  AddValues(parameters, "filename", &claims->names);
}

void AddContentType(std::string_view value, TypeClaims* claims) {
  if (std::string type = MediaTypeOf(value); !type.empty()) {
    claims->types.push_back(std::move(type));
  }
  AddStrayTypes(value, &claims->types);
  const std::vector<OutlineParameter> parameters = Parameters(value);
  AddNames(parameters, claims);
  AddValues(parameters, "smime-type", &claims->smimeTypes);
  AddValues(parameters, "protocol", &claims->protocols);
  AddValues(parameters, "x-action", &claims->actions);
  AddValues(parameters, "x-mutt-action", &claims->actions);
  AddValues(parameters, "format", &claims->formats);
}

// The first text that holds one of the words; null when there is none.
const std::string* FirstHolding(const Texts& texts, const std::vector<std::string_view>& words) {
  const auto holds = [&words](const std::string& text) {
    return std::any_of(words.begin(), words.end(), [&text](std::string_view word) {
      return text.find(word) != std::string::npos;
    });
  };
  const auto found = std::find_if(texts.begin(), texts.end(), holds);
  return found == texts.end() ? nullptr : &*found;
}

// The first name with one of the endings; null when there is none. Blanks, which folding may have
// put anywhere, and dots and the like behind the ending do not hide it.
const std::string* FirstEnding(const Texts& names, const std::vector<std::string_view>& endings) {
  static constexpr std::string_view kPassedOver("\r\n.\"';>\0", 8);
  const auto ends = [&endings](std::string name) {
    std::erase_if(name, [](char c) { return c == ' ' || c == '\t'; });
    name.resize(name.find_last_not_of(kPassedOver) + 1);
    return std::any_of(endings.begin(), endings.end(),
                       [&name](std::string_view ending) { return name.ends_with(ending); });
  };
  const auto found = std::find_if(names.begin(), names.end(), ends);
  return found == names.end() ? nullptr : &*found;
}

// The first type that is S/MIME's, "application/pkcs7-" or its older spelling with `rest` behind
// it; null when there is none.
const std::string* FirstPkcs7(const Texts& types, std::string_view rest) {
  const auto matches = [rest](std::string_view type) {
    for (const std::string_view prefix : {"application/pkcs7-", "application/x-pkcs7-"}) {
      if (type.starts_with(prefix)) {
        return type.substr(prefix.size()).starts_with(rest);
      }
    }
    return false;
  };
  const auto found = std::find_if(types.begin(), types.end(), matches);
  return found == types.end() ? nullptr : &*found;
}

// The first of several claims that is there.
const std::string* FirstOf(std::initializer_list<const std::string*> claims) {
  const auto found = std::find_if(claims.begin(), claims.end(),
                                  [](const std::string* claim) { return claim != nullptr; });
  return found == claims.end() ? nullptr : *found;
}

std::optional<Finding> SmimeFinding(const TypeClaims& claims) {
  const std::string* signature =
      FirstOf({FirstPkcs7(claims.types, "signature"), FirstEnding(claims.names, {".p7s"})});
  if (signature != nullptr) {
    return Finding{Reason::kSmimeSigned, *signature};
  }
  const std::string* certificates =
      FirstOf({FirstPkcs7(claims.types, "cert"), FirstEnding(claims.names, {".p7c"})});
  const std::string* smimeType = claims.smimeTypes.empty() ? nullptr : &claims.smimeTypes.front();
  const std::string* opaque = smimeType == nullptr
                                  ? certificates
                                  : FirstHolding(claims.smimeTypes, {"sign", "receipt", "cert"});
  if (opaque != nullptr) {
    return Finding{Reason::kSmimeOpaque, *opaque};
  }
  const std::string* any = FirstOf({smimeType, FirstPkcs7(claims.types, ""),
                                    FirstHolding(claims.types, {"application/cms"}),
                                    FirstEnding(claims.names, {".p7m", ".p7z"}), certificates});
  if (any != nullptr) {
    return Finding{Reason::kSmimeEncrypted, *any};
  }
  return std::nullopt;
}

// Of application/pgp and of the texts that are labelled as if they were it.
std::optional<Finding> OldPgpFinding(const TypeClaims& claims) {
  if (!HasType(claims, "application/pgp")) {
    const std::string* action = FirstHolding(claims.actions, {"pgp-sign", "pgp-encrypt"});
    return action == nullptr ? std::nullopt : std::optional(Finding{Reason::kPgpInline, *action});
  }
  const bool isEncrypted = FirstHolding(claims.actions, {"encrypt"}) != nullptr;
  if (!isEncrypted && FirstHolding(claims.actions, {"sign"}) != nullptr) {
    return Finding{Reason::kPgpSigned, "application/pgp"};
  }
  const bool holdsKeys = FirstHolding(claims.formats, {"keys-only"}) != nullptr;
  if (!isEncrypted && holdsKeys) {
    return std::nullopt;
  }
  return Finding{Reason::kPgpEncrypted, "application/pgp"};
}

// The reasons of a multipart/signed or multipart/encrypted, by the family of its protocol.
struct MultipartReasons {
  Reason smime;
  Reason pgp;
};

}  // namespace

TypeClaims ClaimsOf(const OutlinePart& part) {
  TypeClaims claims;
  claims.types.push_back(part.mediaType);
  for (const OutlineField& field : part.fields) {
    if (EqualsLower(field.name, "content-type")) {
      AddContentType(field.value, &claims);
    } else if (EqualsLower(field.name, "content-disposition")) {
      AddNames(Parameters(field.value), &claims);
    }
  }
  return claims;
}

bool HasType(const TypeClaims& claims, std::string_view lowerType) {
  return std::find(claims.types.begin(), claims.types.end(), lowerType) != claims.types.end();
}

bool HasTypePrefix(const TypeClaims& claims, std::string_view lowerPrefix) {
  return std::any_of(
      claims.types.begin(), claims.types.end(),
      [lowerPrefix](const std::string& type) { return type.starts_with(lowerPrefix); });
}

std::vector<Finding> TypeFindings(const TypeClaims& claims) {
  std::vector<Finding> findings;
  if (std::optional<Finding> finding = SmimeFinding(claims)) {
    findings.push_back(std::move(*finding));
  }
  if (HasType(claims, "application/pgp-signature")) {
    findings.push_back({Reason::kPgpSigned, "application/pgp-signature"});
  }
  if (HasType(claims, "application/pgp-encrypted")) {
    findings.push_back({Reason::kPgpEncrypted, "application/pgp-encrypted"});
  }
  if (std::optional<Finding> finding = OldPgpFinding(claims)) {
    findings.push_back(std::move(*finding));
  }
  return findings;
}

std::optional<Finding> SignedMultipartFinding(const OutlinePart& part, const TypeClaims& claims) {
  const bool isSigned = HasType(claims, "multipart/signed");
  if (!isSigned && !HasType(claims, "multipart/encrypted")) {
    return std::nullopt;
  }
  const std::string type = isSigned ? "multipart/signed" : "multipart/encrypted";
  const MultipartReasons reasons =
      isSigned ? MultipartReasons{Reason::kSmimeSigned, Reason::kPgpSigned}
               : MultipartReasons{Reason::kSmimeEncrypted, Reason::kPgpEncrypted};
  if (FirstHolding(claims.protocols, {"pkcs7"}) != nullptr) {
    return Finding{reasons.smime, type};
  }
  if (FirstHolding(claims.protocols, {"/pgp"}) != nullptr) {
    return Finding{reasons.pgp, type};
  }
  for (const OutlinePart& child : part.children) {
    for (const Finding& finding : TypeFindings(ClaimsOf(child))) {
      if (finding.reason == reasons.smime || finding.reason == reasons.pgp) {
        return Finding{finding.reason, type};
      }
    }
  }
  return Finding{Reason::kSignedMultipart, type};
}

}  // namespace zevka::host
