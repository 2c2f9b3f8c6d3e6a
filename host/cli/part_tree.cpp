#include "host/cli/part_tree.h"

#include <optional>
#include <utility>

namespace zevka::host {

namespace {

// Each level of embedded messages keeps its own copy of all deeper ones open.
constexpr int kMostEmbedded = 24;

class TreeReader {
 public:
  explicit TreeReader(const Packer& packer) : packer_(packer) {}

  // `number` is the part's; for a message that of the part that it is embedded in.
  TreePart Read(const Part& part, const std::string& number, bool isMessage, int messagesAround) {
    TreePart result;
    result.mediaType = part.MediaType();
    result.name = part.Name();
    result.encoding = part.Encoding();
    const std::vector<Part> children = part.Children();
    if (!children.empty()) {
      result.kind = PartKind::kMultipart;
      result.number = isMessage ? std::string() : number;
      for (std::size_t index = 0; index < children.size(); ++index) {
        result.parts.push_back(
            Read(children[index], ChildNumber(number, index), false, messagesAround));
      }
      return result;
    }
    result.number = isMessage ? ChildNumber(number, 0) : number;
    if (const std::optional<std::string> embedded = part.EmbeddedText()) {
      ReadEmbedded(*embedded, messagesAround + 1, &result);
    } else {
      result.encodedBytes = part.Raw().ReadEncodedBody(nullptr, 0, 0);
      result.decodedBytes = part.BodySizeBytes();
    }
    return result;
  }

 private:
  void ReadEmbedded(const std::string& text, int messagesAround, TreePart* result) {
    result->kind = PartKind::kEmbedded;
    result->encodedBytes = text.size();
    result->decodedBytes = text.size();
    if (messagesAround > kMostEmbedded) {
      result->isCut = true;
    } else if (!text.empty()) {
      const Message message = packer_.OpenBytes(text);
      result->parts.push_back(Read(message.Root(), result->number, true, messagesAround));
    }
  }

  const Packer& packer_;
};

bool DescendTo(const Packer& packer, const Part& part, std::vector<std::size_t> steps,
               bool isMessage, const std::function<void(const Part&)>& use) {
  const std::vector<Part> children = part.Children();
  if (!children.empty()) {
    const std::size_t step = steps.front();
    steps.erase(steps.begin());
    if (step > children.size()) {
      return false;
    }
    const Part& child = children[step - 1];
    if (steps.empty()) {
      use(child);
      return true;
    }
    return DescendTo(packer, child, std::move(steps), false, use);
  }
  if (isMessage) {
    // Its single body.
    if (steps.front() != 1) {
      return false;
    }
    steps.erase(steps.begin());
    if (steps.empty()) {
      use(part);
      return true;
    }
  }
  const std::optional<std::string> embedded = part.EmbeddedText();
  if (!embedded || embedded->empty()) {
    return false;
  }
  const Message message = packer.OpenBytes(*embedded);
  return DescendTo(packer, message.Root(), std::move(steps), true, use);
}

// The steps of a number; empty for what is no number.
std::vector<std::size_t> Steps(std::string_view number) {
  constexpr std::size_t kMostDigits = 6;
  std::vector<std::size_t> steps;
  for (;;) {
    const std::string_view word = number.substr(0, number.find('.'));
    if (word.empty() || word.size() > kMostDigits || word.front() == '0' ||
        word.find_first_not_of("0123456789") != std::string_view::npos) {
      return {};
    }
    steps.push_back(0);
    for (const char digit : word) {
      steps.back() = steps.back() * 10 + static_cast<std::size_t>(digit - '0');
    }
    if (word.size() == number.size()) {
      return steps;
    }
    number.remove_prefix(word.size() + 1);
  }
}

}  // namespace

TreePart ReadTree(const Packer& packer, const Message& message) {
  return TreeReader(packer).Read(message.Root(), "", true, 0);
}

std::string ChildNumber(const std::string& parent, std::size_t index) {
  std::string number = parent;
  if (!number.empty()) {
    number += '.';
  }
  return number += std::to_string(index + 1);
}

bool IsPartNumber(std::string_view number) {
  return !Steps(number).empty();
}

bool WithPart(const Packer& packer, const Message& message, std::string_view number,
              const std::function<void(const Part&)>& use) {
  std::vector<std::size_t> steps = Steps(number);
  return !steps.empty() && DescendTo(packer, message.Root(), std::move(steps), true, use);
}

}  // namespace zevka::host
