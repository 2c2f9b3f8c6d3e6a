// The scenarios: their messages, and what the host does with them.
#include <algorithm>
#include <array>
#include <functional>
#include <string>

#include "tests/faults/scenario.h"

namespace zevka::test {
namespace {

constexpr std::string_view kNewBody = "a new body\r\nwith = and \xC3\xA9 in it\r\n";

[[gnu::noinline]] std::string Lines(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += "line " + std::to_string(i) + " of a body that is longer than a block\r\n";
  }
  return text;
}

const std::string kHead = "Subject: a report\r\nFrom: <ann@example.org>\r\nMIME-Version: 1.0\r\n";
const std::string kBase64 =
    "Content-Type: application/octet-stream; name=\"=?iso-8859-2?q?r=E9.bin?=\"\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\n";
const std::string kQuoted =
    "Content-Type: text/plain; charset=utf-8\r\n"
    "Content-Transfer-Encoding: quoted-printable\r\n\r\n";

std::string PlainText() {
  return kHead + "\r\nHello,\r\n" + Lines(100) + "Ann\r\n";
}

std::string Base64Text() {
  return kHead + kBase64 + "SGVsbG8sIHRoaXMgaXMgYSBib2R5IG9mIGJhc2U2NC4=\r\n";
}

std::string QuotedText() {
  return kHead + kQuoted + "caf=C3=A9, a soft=\r\n break and a =3D sign\r\n";
}

std::string HtmlText() {
  return kHead + "Content-Type: text/html\r\n\r\n<p>Hello</p>\r\n";
}

// Everything there is: a long text, both encodings, an embedded message, a multipart within.
std::string NestedText() {
  return kHead + "Content-Type: multipart/mixed; boundary=abc\r\n\r\npreamble\r\n" +
         "--abc\r\nContent-Type: text/plain\r\n\r\n" + Lines(100) + "--abc\r\n" + kBase64 +
         "SGVsbG8sIHRoaXMgaXMgYSBib2R5Lg==\r\n" +
         "--abc\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\ninner text\r\n" +
         "--abc\r\nContent-Type: multipart/alternative; boundary=xyz\r\n\r\n--xyz\r\n" + kQuoted +
         "caf=C3=A9\r\n--xyz\r\nContent-Type: text/html\r\n\r\n<p>\r\n--xyz--\r\n\r\n" +
         "--abc--\r\n\r\n";
}

std::string MixedText() {
  return kHead +
         "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nA: 1\r\n\r\none\r\n"
         "--abc\r\n" +
         kBase64 + "SGVsbG8=\r\n--abc--\r\n\r\n";
}

// --- work -----------------------------------------------------------------------------------

void ReadFields(Caller& call, PartObject& part) {
  if (call.OneOf(0, 1, "RewindHeaders", [&] { return part.RewindHeaders(); }) == 0) {
    return;
  }
  for (;;) {
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    call.OneOf(1, 1, "GetHeaderSizes", [&] { return part.GetHeaderSizes(&nameSize, &valueSize); });
    // The sizes come from the field that is asked for; nothing may be written beyond them.
    std::string name(nameSize + 1, '#');
    std::string value(valueSize + 1, '#');
    const int given =
        call.OneOf(0, 1, "NextHeader", [&] { return part.NextHeader(name.data(), value.data()); });
    if (name.back() != '#' || value.back() != '#') {
      call.Complain("NextHeader wrote beyond the sizes");
    }
    if (given == 0) {
      return;
    }
  }
}

// The same in wide characters.
void ReadFieldsWide(Caller& call, PartObject& part) {
  if (call.OneOf(0, 1, "RewindHeaders", [&] { return part.RewindHeaders(); }) == 0) {
    return;
  }
  int given = 1;
  while (given == 1) {
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    call.OneOf(1, 1, "GetHeaderSizes", [&] { return part.GetHeaderSizes(&nameSize, &valueSize); });
    std::wstring name(nameSize + 2, L'#');
    std::wstring value(valueSize + 2, L'#');
    given = call.OneOf(0, 1, "NextHeaderW",
                       [&] { return part.NextHeaderW(name.data(), value.data()); });
    if (name.back() != L'#' || value.back() != L'#') {
      call.Complain("NextHeaderW wrote beyond the sizes");
    }
  }
}

std::string DecodedBody(Caller& call, PartObject& part) {
  const std::uint64_t size = call([&] { return part.ReadDecodedBody(nullptr, 0, 0); });
  std::string body(size, '\0');
  const std::uint64_t got = call([&] { return part.ReadDecodedBody(body.data(), size, 0); });
  if (got > size) {
    call.Complain("ReadDecodedBody gave more than was asked for");
  }
  body.resize(std::min(got, size));
  return body;
}

template <typename Visit>
void EachPart(Caller& call, PartObject& part, const Visit& visit) {
  visit(part);
  if (call.OneOf(0, 1, "RewindChildren", [&] { return part.RewindChildren(); }) == 0) {
    return;
  }
  PartObject* child = nullptr;
  while (call.OneOf(0, 1, "NextChild", [&] { return part.NextChild(&child); }) == 1) {
    EachPart(call, *child, visit);
  }
}

bool WalkAndDecode(Caller& call, PartObject& message) {
  EachPart(call, message, [&](PartObject& part) {
    ReadFields(call, part);
    ReadFieldsWide(call, part);
    std::array<char, 8192> name{};
    call.OneOf(1, 1, "GetName", [&] { return part.GetName(name.data()); });
    std::array<wchar_t, 512> wide{};
    call.OneOf(0, 1, "GetNameW", [&] { return part.GetNameW(wide.data()); });
    call.TheOutcome().decodedBodies.push_back(DecodedBody(call, part));
    std::uint64_t size = 0;
    call.OneOf(0, 1, "GetBodySize", [&] { return part.GetBodySize(&size); });
    call([&] { return part.GetDecodedBodyBuffer(); });
    call([&] { return part.GetEncodedBodyBuffer(); });
  });
  return true;
}

// Made beforehand: what the host allocates in a call counts as the library's.
const std::string kLongValue = " word " + std::string(100, 'w') + " end";

bool EditFields(Caller& call, PartObject& message) {
  return call.OneOf(0, 1, "SetHeader", [&] { return message.SetHeader("X-Scan", "clean", 0); }) ==
             1 &&
         call.OneOf(0, 1, "SetHeader",
                    [&] { return message.SetHeader("Subject", "a new caf\xC3\xA9 report", 1); }) ==
             1 &&
         call.OneOf(0, 1, "SetHeader",
                    [&] { return message.SetHeader("X-Long", kLongValue.c_str(), 1); }) == 1;
}

bool EditWide(Caller& call, PartObject& message) {
  return call.OneOf(0, 1, "SetHeaderW",
                    [&] { return message.SetHeaderW(L"X-Wide", L"a caf\u00e9", 0); }) == 1;
}

bool Replace(Caller& call, PartObject& part) {
  return call([&] { return part.WriteDecodedBody(kNewBody.data(), kNewBody.size()); }) ==
         kNewBody.size();
}

bool ReplaceBody(Caller& call, PartObject& message) {
  return Replace(call, message);
}

// The n-th child, or null.
PartObject* Child(Caller& call, PartObject& part, int n) {
  PartObject* child = nullptr;
  if (call.OneOf(0, 1, "RewindChildren", [&] { return part.RewindChildren(); }) == 0) {
    return nullptr;
  }
  for (int i = 0; i <= n; ++i) {
    if (call.OneOf(0, 1, "NextChild", [&] { return part.NextChild(&child); }) == 0) {
      return nullptr;
    }
  }
  return child;
}

bool ReplaceChildBodies(Caller& call, PartObject& message) {
  for (const int n : {0, 1}) {
    PartObject* child = Child(call, message, n);
    if (child == nullptr || !Replace(call, *child)) {
      return false;
    }
  }
  return true;
}

bool RemoveChild(Caller& call, PartObject& message) {
  PartObject* child = Child(call, message, 1);
  return child != nullptr &&
         call.OneOf(1, 1, "RemovePart", [&] { return child->RemovePart(); }) == 1;
}

// Asks for the paths of the bodies, which brings them to disk.
bool BodiesToDisk(Caller& call, PartObject& message) {
  bool all = true;
  EachPart(call, message, [&](PartObject& part) {
    std::array<char, 8192> path{};
    all = call.OneOf(0, 1, "GetDecodedBodyFile",
                     [&] { return part.GetDecodedBodyFile(path.data()); }) == 1 &&
          all;
    all = call.OneOf(0, 1, "GetEncodedBodyFile",
                     [&] { return part.GetEncodedBodyFile(path.data()); }) == 1 &&
          all;
    call.OneOf(0, 1, "GetSourceFile", [&] { return part.GetSourceFile(path.data()); });
  });
  return all;
}

bool EditAll(Caller& call, PartObject& message) {
  return EditFields(call, message) && ReplaceBody(call, message);
}

std::vector<Scenario> MakeScenarios() {
  constexpr auto kDisk = Source::kDisk;
  constexpr auto kMemory = Source::kMemory;
  constexpr const char* kAscii = "Scanned by a gateway";
  constexpr const char* kAccented = "Scann\xC3\xA9";
  return {
      {"load-path", NestedText(), kDisk, nullptr, nullptr, Ending::kDiscard},
      {"load-memory", NestedText(), kMemory, nullptr, nullptr, Ending::kDiscard},
      {"walk-decode", NestedText(), kDisk, &WalkAndDecode, nullptr, Ending::kDiscard},
      {"edit-headers", PlainText(), kDisk, &EditFields, nullptr, Ending::kCommit},
      {"edit-wide", PlainText(), kDisk, &EditWide, nullptr, Ending::kCommit},
      {"edit-base64", Base64Text(), kDisk, &ReplaceBody, nullptr, Ending::kCommit},
      {"edit-quoted-printable", QuotedText(), kDisk, &ReplaceBody, nullptr, Ending::kCommit},
      {"edit-children", MixedText(), kDisk, &ReplaceChildBodies, nullptr, Ending::kCommit},
      {"remove-child", MixedText(), kDisk, &RemoveChild, nullptr, Ending::kCommit},
      {"bodies-to-disk", NestedText(), kDisk, &BodiesToDisk, nullptr, Ending::kCommit},
      {"commit-plain", PlainText(), kDisk, nullptr, nullptr, Ending::kCommit},
      {"commit-multipart", NestedText(), kDisk, nullptr, nullptr, Ending::kCommit},
      {"footer-inline", PlainText(), kDisk, nullptr, kAscii, Ending::kCommit},
      {"footer-inline-quoted", QuotedText(), kDisk, nullptr, kAscii, Ending::kCommit},
      {"footer-child", NestedText(), kDisk, nullptr, kAscii, Ending::kCommit},
      {"footer-wrapper", HtmlText(), kDisk, nullptr, kAccented, Ending::kCommit},
      {"commit-memory", NestedText(), kMemory, nullptr, nullptr, Ending::kCommit},
      {"close-memory", MixedText(), kMemory, &EditFields, nullptr, Ending::kCloseWithCommit},
      {"close-memory-footer", HtmlText(), kMemory, nullptr, kAscii, Ending::kCloseWithCommit},
      {"close-unchanged", MixedText(), kMemory, nullptr, nullptr, Ending::kCloseWithoutCommit},
      {"close-path", MixedText(), kDisk, &EditFields, nullptr, Ending::kCloseWithCommit},
      {"save-and-close", MixedText(), kDisk, &EditFields, nullptr, Ending::kSaveAndClose},
      {"discard", Base64Text(), kDisk, &EditAll, nullptr, Ending::kDiscard},
  };
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
  static const std::vector<Scenario> scenarios = MakeScenarios();
  return scenarios;
}

}  // namespace zevka::test
