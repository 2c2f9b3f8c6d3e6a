#include "bench/samples.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zevka::bench {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kTextColumns = 72;
constexpr std::size_t kBase64Columns = 76;
constexpr std::size_t kQuotedPrintableColumns = 75;  // and "=" for a soft line break
constexpr std::size_t kShortText = 300;              // bytes

constexpr std::array<std::string_view, 24> kWords = {
    "the",     "of",       "and",      "report",  "in",       "delivery", "for",    "as",
    "invoice", "customer", "schedule", "update",  "attached", "please",   "with",   "network",
    "account", "review",   "server",   "meeting", "agenda",   "quarter",  "budget", "regards"};
constexpr std::array<std::string_view, 8> kForeignWords = {"größe",  "über",  "façade", "señor",
                                                           "письмо", "отчёт", "会议",   "한국어"};

// A plain generator: the same numbers everywhere.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : state_(seed * 2 + 1) {}
  std::uint32_t Next() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::uint32_t>(state_ >> 33U);
  }
  template <typename List>
  std::string_view Pick(const List& list) {
    return list[Next() % list.size()];
  }

 private:
  std::uint64_t state_;
};

std::string Text(std::size_t bytes, bool foreign) {
  Dice dice(bytes);
  std::string text;
  std::size_t column = 0;
  while (text.size() < bytes) {
    const bool plain = !foreign || dice.Next() % 3 != 0;
    const std::string_view word = plain ? dice.Pick(kWords) : dice.Pick(kForeignWords);
    if (column + word.size() > kTextColumns) {
      text.append(kLineEnd);
      column = 0;
    }
    text.append(column == 0 ? "" : " ").append(word);
    column += word.size() + 1;
  }
  return text.append(kLineEnd);
}

std::string QuotedPrintableOf(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string coded;
  std::size_t column = 0;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    const bool lineEnd = letter == '\r' || letter == '\n';
    const bool plain = lineEnd || (byte >= ' ' && byte < 127 && letter != '=');
    const std::size_t width = plain ? 1 : 3;
    if (!lineEnd && column + width > kQuotedPrintableColumns) {
      coded.append("=").append(kLineEnd);
      column = 0;
    }
    if (plain) {
      coded += letter;
    } else {
      coded += '=';
      coded += kDigits[byte / 16];
      coded += kDigits[byte % 16];
    }
    column = letter == '\n' ? 0 : column + width;
  }
  return coded;
}

std::string HeaderBlock() {
  return "Return-Path: <anna@example.org>\r\n"
         "Received: from relay.example.org (relay.example.org [192.0.2.7])\r\n"
         "\tby mx.example.net (Mailer) with ESMTPS id 4F2A91C07B\r\n"
         "\tfor <bert@example.net>; Tue, 4 Mar 2025 10:11:12 +0100\r\n"
         "From: \"Anna Sample\" <anna@example.org>\r\n"
         "To: bert@example.net, Carla Sample <carla@example.com>\r\n"
         "Subject: report of the quarter\r\n"
         "Date: Tue, 4 Mar 2025 10:11:12 +0100\r\n"
         "Message-ID: <3c1a9f.1@example.org>\r\n"
         "MIME-Version: 1.0\r\n";
}

std::string Part(std::string_view type, std::string_view encoding, std::string_view body) {
  std::string part("Content-Type: ");
  part.append(type).append("\r\nContent-Transfer-Encoding: ").append(encoding);
  part.append("\r\n\r\n").append(body);
  return part;
}

std::string TextPart(std::size_t bytes) {
  return Part("text/plain; charset=us-ascii", "7bit", AsciiText(bytes));
}

std::string QuotedPrintablePart(std::string_view type, std::size_t bytes) {
  return Part(std::string(type) + "; charset=utf-8", "quoted-printable",
              QuotedPrintableText(bytes));
}

std::string AttachmentPart(std::size_t bytes) {
  return Part("application/octet-stream; name=\"data.bin\"", "base64", Base64Lines(bytes));
}

// The head of a multipart; its parts follow, each behind Delimiter(boundary), and then the closing
// one.
std::string MultipartHead(std::string_view subtype, std::string_view boundary) {
  std::string head("Content-Type: multipart/");
  head.append(subtype).append(";\r\n\tboundary=\"").append(boundary).append("\"\r\n\r\n");
  return head;
}
std::string Delimiter(std::string_view boundary) {
  return "--" + std::string(boundary) + "\r\n";
}
std::string ClosingDelimiter(std::string_view boundary) {
  return "--" + std::string(boundary) + "--\r\n";
}

}  // namespace

std::string Noise(std::size_t bytes) {
  Dice dice(bytes);
  std::string noise(bytes, '\0');
  std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(dice.Next()); });
  return noise;
}

std::string AsciiText(std::size_t bytes) {
  return Text(bytes, false);
}

std::string Utf8Text(std::size_t bytes) {
  return Text(bytes, true);
}

std::string Base64Lines(std::size_t bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Dice dice(bytes);
  std::string lines;
  lines.reserve(bytes + kBase64Columns + kLineEnd.size());
  while (lines.size() < bytes) {
    for (std::size_t column = 0; column < kBase64Columns; ++column) {
      lines += kDigits[dice.Next() % kDigits.size()];
    }
    lines.append(kLineEnd);
  }
  return lines;
}

std::string QuotedPrintableText(std::size_t bytes) {
  // A third of the words takes about three times its bytes.
  std::string coded = QuotedPrintableOf(Utf8Text(bytes * 2 / 3));
  return coded;
}

std::string PlainMessage(std::size_t bodyBytes) {
  return HeaderBlock() + TextPart(bodyBytes);
}

std::string EightBitMessage(std::size_t bodyBytes) {
  return HeaderBlock() + Part("text/plain; charset=utf-8", "8bit", Utf8Text(bodyBytes));
}

std::string QuotedPrintableMessage(std::size_t bodyBytes) {
  return HeaderBlock() + QuotedPrintablePart("text/plain", bodyBytes);
}

std::string Base64Message(std::size_t attachmentBytes) {
  constexpr std::string_view kBoundary = "=_mixed_0001";
  return HeaderBlock() + MultipartHead("mixed", kBoundary) + Delimiter(kBoundary) +
         TextPart(kShortText) + Delimiter(kBoundary) + AttachmentPart(attachmentBytes) +
         ClosingDelimiter(kBoundary);
}

std::string UsualMessage(std::size_t attachmentBytes) {
  constexpr std::string_view kMixed = "=_mixed_0001";
  constexpr std::string_view kAlternative = "=_alternative_0002";
  constexpr std::size_t kLetter = 2500;  // bytes
  return HeaderBlock() + MultipartHead("mixed", kMixed) + Delimiter(kMixed) +
         MultipartHead("alternative", kAlternative) + Delimiter(kAlternative) +
         QuotedPrintablePart("text/plain", kLetter) + Delimiter(kAlternative) +
         QuotedPrintablePart("text/html", kLetter) + ClosingDelimiter(kAlternative) +
         Delimiter(kMixed) + AttachmentPart(attachmentBytes / 2) + Delimiter(kMixed) +
         AttachmentPart(attachmentBytes / 2) + ClosingDelimiter(kMixed);
}

std::string ManyParts(std::size_t count) {
  constexpr std::string_view kBoundary = "=_many";
  const std::array<std::string, 3> parts = {TextPart(kShortText),
                                            QuotedPrintablePart("text/plain", kShortText),
                                            AttachmentPart(kShortText)};
  std::string message = HeaderBlock() + MultipartHead("mixed", kBoundary);
  for (std::size_t i = 0; i < count; ++i) {
    message.append(Delimiter(kBoundary)).append(parts[i % parts.size()]);
  }
  return message.append(ClosingDelimiter(kBoundary));
}

std::string Nested(std::size_t levels, std::size_t leafBytes) {
  std::string message = HeaderBlock();
  for (std::size_t level = 0; level < levels; ++level) {
    const std::string boundary = "=_level_" + std::to_string(level);
    message.append(MultipartHead("mixed", boundary)).append(Delimiter(boundary));
    message.append(level % 2 == 0 ? AttachmentPart(leafBytes) : TextPart(leafBytes));
    if (level + 1 < levels) {
      message.append(Delimiter(boundary));
    }
  }
  for (std::size_t level = levels; level > 0; --level) {
    message.append(ClosingDelimiter("=_level_" + std::to_string(level - 1)));
  }
  return message;
}

std::string ManyFields(std::size_t count) {
  std::string message = HeaderBlock();
  for (std::size_t i = 0; i < count; ++i) {
    message.append("X-Field-").append(std::to_string(i)).append(": value of this field");
    message.append(i % 4 == 0 ? "\r\n\tand what was folded\r\n" : "\r\n");
  }
  return message + TextPart(kShortText);
}

std::string_view BodyOf(std::string_view message) {
  constexpr std::string_view kEmptyLine = "\r\n\r\n";
  const std::size_t at = message.find(kEmptyLine);
  return at == std::string_view::npos ? message : message.substr(at + kEmptyLine.size());
}

}  // namespace zevka::bench
