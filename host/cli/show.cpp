// zevka show [--json] FILE...: the parts of each message as a tree.
#include <zevka/safe_edit.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/commands.h"
#include "host/cli/json_line.h"
#include "host/cli/part_tree.h"
#include "host/kit/encoded_words.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(One line a part: number, media type, name, transfer encoding and decoded size.
With --json, one object a message; the manual page has its fields.

Examples:
  zevka show mail.eml
  zevka show - < mail.eml
  zevka show --json new/* | jq -r 'select(.guarded != []) | .file')";

struct ShowOptions {
  std::vector<std::string> files;
  bool json = false;
};

// What is told of a message as a whole.
struct Overview {
  std::string file;
  std::size_t bytes = 0;
  std::string lineEnd;
  std::string subject;
  std::vector<ReasonNote> notes;
  bool isSignedForLibrary = false;
};

bool IsEncrypted(Reason reason) {
  return reason == Reason::kSmimeEncrypted || reason == Reason::kPgpEncrypted;
}

// "dkim, smime-signed in part 2": what is guarded, either encrypted or not.
//   root  the number of the message's single body, which needs no naming; else empty
std::string Kinds(const std::vector<ReasonNote>& notes, bool encrypted, std::string_view root) {
  std::vector<std::string> kinds;
  for (const ReasonNote& note : notes) {
    if (!IsGuarded(note.reason) || IsEncrypted(note.reason) != encrypted) {
      continue;
    }
    std::string kind(ReasonName(note.reason));
    if (note.part != root && !note.part.empty()) {
      kind += " in part ";
      kind += note.part;
    }
    if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) {
      kinds.push_back(kind);
    }
  }
  std::string text;
  for (const std::string& kind : kinds) {
    text += text.empty() ? "" : ", ";
    text += kind;
  }
  return text;
}

std::string Protection(const Overview& overview, std::string_view root) {
  std::string signatures = Kinds(overview.notes, false, root);
  const std::string encryptions = Kinds(overview.notes, true, root);
  if (signatures.empty() && encryptions.empty() && overview.isSignedForLibrary) {
    signatures = "for the library";
  }
  std::string text;
  if (!signatures.empty()) {
    text.append("signed (").append(signatures).append(")");
  }
  if (!encryptions.empty()) {
    text.append(text.empty() ? "" : ", ").append("encrypted (").append(encryptions).append(")");
  }
  return text.empty() ? "not signed" : text;
}

std::string_view LineEndWords(std::string_view lineEnd) {
  return lineEnd == "CRLF" ? "CR LF" : lineEnd;
}

void PrintPart(const TreePart& part, std::size_t indent) {
  std::string line(indent, ' ');
  if (!part.number.empty()) {
    line += part.number;
    line += "  ";
  }
  line += Printable(part.mediaType);
  if (!part.name.empty()) {
    line.append(" \"").append(Printable(part.name)).append("\"");
  }
  if (part.kind != PartKind::kMultipart) {
    line.append(", ").append(Printable(part.encoding)).append(", ");
    line.append(std::to_string(part.decodedBytes)).append(" bytes");
  }
  Print(line += '\n');
  if (part.isCut) {
    Print(std::string(indent + 2, ' ').append("(messages inside this one are not shown)\n"));
  }
  for (const TreePart& child : part.parts) {
    PrintPart(child, indent + 2);
  }
}

void PrintText(const Overview& overview, const TreePart& root) {
  std::string line = Printable(overview.file);
  line.append(": ").append(std::to_string(overview.bytes)).append(" bytes, ");
  line.append(LineEndWords(overview.lineEnd))
      .append(", ")
      .append(Protection(overview, root.number));
  Print(line += '\n');
  PrintPart(root, 2);
}

std::string_view KindName(PartKind kind) {
  switch (kind) {
    case PartKind::kMultipart:
      return "multipart";
    case PartKind::kEmbedded:
      return "message";
    case PartKind::kLeaf:
      break;
  }
  return "leaf";
}

Json PartObjectOf(const TreePart& part) {
  Json object;
  object["number"] = part.number;
  object["kind"] = KindName(part.kind);
  object["media_type"] = part.mediaType;
  object["name"] = part.name;
  object["encoding"] = part.encoding;
  object["encoded_bytes"] = part.encodedBytes;
  object["decoded_bytes"] = part.decodedBytes;
  object["cut"] = part.isCut;
  object["parts"] = Json::array();
  for (const TreePart& child : part.parts) {
    object["parts"].push_back(PartObjectOf(child));
  }
  return object;
}

// The notes that are the guard's, or the others: the limits that the message is beyond.
Json NotesOf(const std::vector<ReasonNote>& notes, bool guarded) {
  Json list = Json::array();
  for (const ReasonNote& note : notes) {
    if (IsGuarded(note.reason) == guarded) {
      list.push_back({{"reason", ReasonName(note.reason)}, {"part", note.part}});
    }
  }
  return list;
}

void PrintJson(const Overview& overview, const TreePart& root) {
  Json object;
  object["file"] = overview.file;
  object["bytes"] = overview.bytes;
  object["line_end"] = overview.lineEnd;
  object["subject"] = overview.subject;
  object["guarded"] = NotesOf(overview.notes, true);
  object["limits"] = NotesOf(overview.notes, false);
  object["library_signed"] = overview.isSignedForLibrary;
  object["root"] = PartObjectOf(root);
  Print(JsonLine(object));
}

void Show(const Packer& packer, const InputMessage& file, bool json) {
  const std::string& bytes = file.bytes;
  const Message message = packer.OpenBytes(bytes);
  const std::string lineEnd = message.LineEnd();
  Overview overview;
  overview.file = file.given;
  overview.bytes = bytes.size();
  overview.lineEnd = lineEnd == "\r\n" ? "CRLF" : lineEnd == "\r" ? "CR" : "LF";
  overview.subject = WordsInUtf8(message.Root().Field("subject").value_or(""));
  overview.notes = GuardReasons(bytes);
  overview.isSignedForLibrary = message.IsSigned();
  const TreePart root = ReadTree(packer, message);
  if (json) {
    PrintJson(overview, root);
  } else {
    PrintText(overview, root);
  }
}

}  // namespace

void AddShow(CLI::App& app, Session& session) {
  auto options = std::make_shared<ShowOptions>();
  CLI::App* command = app.add_subcommand("show", "Print the parts of each message as a tree");
  command->add_option("FILE", options->files, "A message; - for standard input")
      ->type_name("")
      ->required();
  command->add_flag("--json", options->json, "Print JSON Lines, one object a message");
  command->footer(kHelp);
  command->callback([options, &session] {
    session.ForEachMessage(options->files,
                           [&options](const Packer& packer, const InputMessage& file) {
                             Show(packer, file, options->json);
                           });
  });
}

}  // namespace zevka::host
