#include "fuzz/support/part_work.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "fileio/file_operations.h"
#include "fuzz/support/law.h"
#include "fuzz/support/tree.h"
#include "fuzz/support/tree_footer.h"

namespace zevka::fuzz {
namespace {

constexpr const char* kNames[] = {
    "Subject",        "X-Added", "Content-Type", "Content-Transfer-Encoding",
    "DKIM-Signature", "X_A",     "Mime-Version"};
constexpr const char* kValues[] = {
    "base64",
    "quoted-printable",
    "7bit",
    " text/html; charset=utf-8",
    " multipart/mixed; boundary=other",
    "a few words that make a line which is long enough to be folded somewhere in its middle",
    "\xC3\xA9t\xC3\xA9",
    ""};
// Never a path: when a message ends, the library removes a file of that name.
constexpr const char* kFooters[] = {"Footer", "Footer\r\nof two lines\n", "Footer \xC3\xA9", ""};
constexpr std::size_t kLongestPiece = 600;
constexpr std::size_t kPathRoom = 512;
constexpr std::size_t kWidePathRoom = 4097;

std::string UpToNul(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

std::string DecodedBody(MIMEPart& part) {
  return BodyOf(part, &MIMEPart::ReadDecodedBody);
}
std::string EncodedBody(MIMEPart& part) {
  return BodyOf(part, &MIMEPart::ReadEncodedBody);
}

}  // namespace

void PartWork::Step() {
  MIMEPart& part = SomePart();
  switch (steering_.Number(15)) {
    case 0:
    case 1:
      return SetField(part);
    case 2:
      return Remove(part);
    case 3:
    case 4:
      return WriteBody(part, true);
    case 5:
      return WriteBody(part, false);
    case 6:
      return ReadBody(part, true);
    case 7:
      return ReadBody(part, false);
    case 8:
      return part.SetModified();
    case 9:
    case 10:
      return SetFooter(part);
    case 11:
      return BringToDisk(part);
    case 12:
      return AskNames(part);
    case 13:
      return LookIntoBuffers(part);
    case 14:
      return steering_.OneIn(2) ? WalkFields(part) : WalkChildren(part);
    default:
      return AskSmallThings(part);
  }
}

// The message or a part below it, as a host reaches it.
MIMEPart& PartWork::SomePart() {
  MIMEPart* part = &message_.Part();
  while (!steering_.OneIn(2) && part->RewindChildren() == 1) {
    PartObject* child = nullptr;
    for (std::size_t i = steering_.Number(3) + 1; i > 0 && part->NextChild(&child) == 1; --i) {
    }
    if (child == nullptr) {
      break;
    }
    part = static_cast<MIMEPart*>(child);
  }
  return *part;
}

void PartWork::SetField(MIMEPart& part) {
  const std::string name = steering_.Choice(kNames);
  const std::string value =
      steering_.OneIn(3) ? UpToNul(steering_.Piece(kLongestPiece)) : steering_.Choice(kValues);
  const int result = part.SetHeader(name.c_str(), value.c_str(), steering_.OneIn(2) ? 1 : 0);
  Law(result == (value.empty() || name == "X_A" ? 0 : 1), "a field is taken or refused");
}

// The message itself only now and then: nothing can be done with it afterwards.
void PartWork::Remove(MIMEPart& part) {
  if (&part != &message_.Part() || steering_.OneIn(16)) {
    Law(part.RemovePart() == 1, "a part is removed");
    Law(part.ReadDecodedBody(nullptr, 0, 0) == 0 && part.ReadEncodedBody(nullptr, 0, 0) == 0,
        "a removed part has no bodies");
  }
}

void PartWork::WriteBody(MIMEPart& part, bool decoded) {
  const std::string body(steering_.Piece(kLongestPiece));
  const bool hasFile =
      !part.State().removed &&
      (decoded || part.DoGetEncodedBodyFile(std::vector<char>(kWidePathRoom).data(), 0) == 1);
  const std::uint64_t expected = hasFile ? body.size() : 0;
  const std::uint64_t written = decoded ? part.WriteDecodedBody(body.data(), body.size())
                                        : part.WriteEncodedBody(body.data(), body.size());
  Law(written == expected, "a body is taken whole, or not by a part without one");
  if (hasFile) {
    Law((decoded ? DecodedBody(part) : EncodedBody(part)) == body, "a body is what was written");
    Law(!decoded || part.State().modified, "a new decoded body marks its part");
  }
}

void PartWork::ReadBody(MIMEPart& part, bool decoded) {
  const std::string body = decoded ? DecodedBody(part) : EncodedBody(part);
  const std::size_t offset = steering_.Number(1000);
  const std::size_t room = steering_.Number(1000) + 1;
  std::string piece(room, '\0');
  const auto signedOffset = static_cast<std::int64_t>(offset);
  piece.resize(decoded ? part.ReadDecodedBody(piece.data(), room, signedOffset)
                       : part.ReadEncodedBody(piece.data(), room, signedOffset));
  Law(piece == std::string_view(body).substr(std::min(offset, body.size()), room),
      "a piece of a body is that piece of the body");
}

void PartWork::SetFooter(MIMEPart& part) {
  const bool refused = RefusesFooter(TreeOf(part, Decode::kNone));
  const std::optional<std::string> before = part.State().footerText;
  const bool isNone = steering_.OneIn(8);
  const std::string footer = steering_.Choice(kFooters);
  Law(part.SetFooterText(isNone ? nullptr : footer.c_str()) == 1, "setting a footer gives 1");
  const std::optional<std::string> wished =
      isNone ? std::nullopt : std::optional<std::string>(footer);
  Law(part.State().footerText == (refused ? before : wished), "nothing signed takes a footer");
}

void PartWork::BringToDisk(MIMEPart& part) {
  if (!mayUseDisk_) {
    return;
  }
  std::vector<char> path(kWidePathRoom, '\0');
  const bool decoded = steering_.OneIn(2);
  const std::string body = decoded ? DecodedBody(part) : EncodedBody(part);
  const int result =
      decoded ? part.GetDecodedBodyFile(path.data()) : part.GetEncodedBodyFile(path.data());
  if (result == 1) {
    Law(FileIsOnDisk(path.data()) == 0, "a body that was asked for by its path is on disk");
    Law(ReadFile(path.data()) == body, "a body on disk is the body");
  }
  std::array<char, kPathRoom> source{};
  if (Packer().QueryControl(kQuerySourceFile, static_cast<PartObject*>(&part), source.data()) ==
      1) {
    Law(part.State().kind.isEmbeddedMessage, "only an embedded message has a source file");
    Law(ReadFile(source.data()).has_value(), "a source file can be read");
  }
}

void PartWork::AskNames(MIMEPart& part) {
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part.GetHeaderSizes(&nameSize, &valueSize);
  std::vector<char> name(valueSize, '\x55');
  Law(part.GetName(name.data()) == 1, "a name is always given");
  Law(std::memchr(name.data(), '\0', name.size()) != nullptr, "a name ends within its room");
  std::array<wchar_t, kPathRoom> wide{};
  part.GetNameW(wide.data());
  std::vector<char> path(steering_.Number(100) + 1, '\x55');
  Law(part.GetFileName(path.data(), path.size()) == 0, "asking for the path gives 0");
  const std::string own = part.State().files.own.value_or("");
  Law(std::string_view(path.data(), std::min(own.size(), path.size())) ==
          std::string_view(own).substr(0, path.size()),
      "the path is the part's own");
}

void PartWork::LookIntoBuffers(MIMEPart& part) {
  const bool decoded = steering_.OneIn(2);
  const std::string body = decoded ? DecodedBody(part) : EncodedBody(part);
  const void* const buffer = decoded ? part.GetDecodedBodyBuffer() : part.GetEncodedBodyBuffer();
  Law(buffer == nullptr || std::memcmp(buffer, body.data(), body.size()) == 0,
      "a body in memory is the body");
  std::uint64_t size = 0;
  if (part.GetBodySize(&size) == 0) {
    Law(size == 0, "a size that is not known is left alone");
  }
}

void PartWork::WalkFields(MIMEPart& part) {
  const std::size_t fields = part.State().removed ? 0 : part.State().headers.size();
  Law(part.RewindHeaders() == 1, "headers are rewound");
  std::size_t seen = 0;
  for (;; ++seen) {
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    part.GetHeaderSizes(&nameSize, &valueSize);
    std::wstring name(nameSize + 1, L'\0');
    std::wstring value(valueSize + 1, L'\0');
    if (part.NextHeaderW(name.data(), value.data()) != 1) {
      break;
    }
  }
  Law(seen == fields, "each field is given once");
}

void PartWork::WalkChildren(MIMEPart& part) {
  if (part.RewindChildren() != 1) {
    Law(!part.State().kind.isMultipart, "the children of a multipart are rewound");
    return;
  }
  std::size_t left = part.State().children.size();
  PartObject* child = nullptr;
  while (part.NextChild(&child) == 1) {
    Law(left-- > 0, "no more children are given than there are");
    const auto& given = *static_cast<MIMEPart*>(child);
    Law(!given.State().removed || &given == part.State().children.back().part.get(),
        "no removed child but the last one is given");
  }
}

void PartWork::AskSmallThings(MIMEPart& part) {
  Law(part.Initialize() == 1 && part.Reserved() == 0 && part.ReservedA() == 0 &&
          part.ReservedB() == 0,
      "reserved slots give what they give");
  const Signatures& signatures = part.State().signatures;
  Law(Packer().QueryControl(kQuerySigned, static_cast<PartObject*>(&part)) ==
          (signatures.domain || signatures.protocol ? 1 : 0),
      "the question for signatures is answered by what was read");
  if (mayUseDisk_) {
    std::array<wchar_t, kWidePathRoom> path{};
    const int result = steering_.OneIn(2) ? part.GetDecodedBodyFileW(path.data())
                                          : part.GetEncodedBodyFileW(path.data());
    Law(result == 0 || path[0] != L'\0', "a body on disk has a wide path");
  }
}

}  // namespace zevka::fuzz
