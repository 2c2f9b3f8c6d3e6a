#include "tests/shapes/road.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace zevka::test {
namespace {

constexpr std::size_t kStep = 65536;  // bytes of a body read at once

class Walk {
 public:
  explicit Walk(Facts& facts) : facts_(facts), step_(kStep, '\0') {}

  void Part(PartObject* part, std::uint64_t level) {
    ++facts_.parts;
    facts_.levels = std::max(facts_.levels, level);
    Fields(*part);
    facts_.encodedBytes += Bytes(*part, &CMIMEPacker::ReadEncodedBody);
    facts_.decodedBytes += Bytes(*part, &CMIMEPacker::ReadDecodedBody);
    if (part->RewindChildren() == 1) {
      PartObject* child = nullptr;
      while (part->NextChild(&child) == 1) {
        Part(child, level + 1);
      }
    }
  }

 private:
  using Read = std::uint64_t (CMIMEPacker::*)(void*, std::uint64_t, std::int64_t);

  void Fields(PartObject& part) {
    part.RewindHeaders();
    for (;;) {
      std::uint32_t nameSize = 0;
      std::uint32_t valueSize = 0;
      part.GetHeaderSizes(&nameSize, &valueSize);
      name_.resize(std::max<std::size_t>(name_.size(), nameSize + 1));
      value_.resize(std::max<std::size_t>(value_.size(), valueSize + 1));
      if (part.NextHeader(name_.data(), value_.data()) != 1) {
        return;
      }
      ++facts_.fields;
      facts_.fieldBytes += ::strnlen(name_.data(), nameSize) + ::strnlen(value_.data(), valueSize);
    }
  }

  std::uint64_t Bytes(PartObject& part, Read read) {
    std::uint64_t total = 0;
    std::uint64_t count = kStep;
    while (count == kStep) {
      count = (part.*read)(step_.data(), kStep, static_cast<std::int64_t>(total));
      total += count;
    }
    return total;
  }

  Facts& facts_;
  std::string step_;
  std::string name_;
  std::string value_;
};

PartObject* Open(const Host& host, std::string& message) {
  return host->OpenMessageFromMemory(message.data(), static_cast<std::int64_t>(message.size()),
                                     true);
}

}  // namespace

Facts GoTheRoad(const Host& host, std::string& message, const char* footer,
                std::string* committed) {
  Facts facts;
  PartObject* const part = Open(host, message);
  if (part == nullptr) {
    return facts;
  }
  facts.opened = true;
  Walk(facts).Part(part, 1);
  if (footer != nullptr) {
    part->SetFooterText(footer);
  }
  char* buffer = nullptr;
  facts.committedBytes = host->CloseMessage(part, &buffer, true);
  if (committed != nullptr && facts.committedBytes > 0) {
    committed->assign(buffer, static_cast<std::size_t>(facts.committedBytes));
  }
  host->ReleaseControl(kReleaseBuffer, buffer);
  return facts;
}

bool OpenAndDiscard(const Host& host, std::string& message) {
  PartObject* const part = Open(host, message);
  if (part != nullptr) {
    host.Discard(part);
  }
  return part != nullptr;
}

}  // namespace zevka::test
