#include "tests/load/work.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr std::size_t kBudget = 134217728;
constexpr std::string_view kMixed = "Content-Type: multipart/mixed; boundary=outer\r\n\r\n";

std::string Repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t number = 0; number < count; ++number) {
    all += text;
  }
  return all;
}

// Replaces what the library drew at random for a wrapper: the value of the boundary of its first
// field.
std::string WithoutBoundary(std::string text) {
  constexpr std::string_view kHead = "Content-Type: multipart/mixed;";
  constexpr std::string_view kBoundary = "boundary=\"";
  const std::size_t at = text.find(kBoundary);
  if (text.compare(0, kHead.size(), kHead) != 0 || at == std::string::npos || at > 100) {
    return text;
  }
  const std::size_t begin = at + kBoundary.size();
  const std::string drawn = text.substr(begin, text.find('"', begin) - begin);
  for (std::size_t found = text.find(drawn); found != std::string::npos;
       found = text.find(drawn, found)) {
    text.replace(found, drawn.size(), "B");
  }
  return text;
}

void Append(std::string& all, const std::string& text) {
  all += std::to_string(text.size()) + ":" + text + ";";
}

void ReplaceBodies(PartObject* part) {
  const std::vector<PartObject*> children = Host::Children(part);
  for (PartObject* child : children) {
    ReplaceBodies(child);
  }
  if (children.empty()) {
    const std::string body = "new \xC3\xA9 " + Host::Decoded(part) + "\r\n";
    part->WriteDecodedBody(body.data(), body.size());
  }
}

void Prepare(PartObject* part, Job job) {
  switch (job) {
    case Job::kEdit:
      part->SetHeader("Subject", "caf\xC3\xA9 and more than one word of it", 1);
      part->SetHeader("X-Added", "value", 0);
      return;
    case Job::kReplace:
      ReplaceBodies(part);
      return;
    case Job::kFooter:
    case Job::kDiskFooter:
      part->SetFooterText("A footer");
      return;
    case Job::kUtf8:
      part->SetFooterText("Ein Fu\xC3\x9F");
      return;
    case Job::kRead:
    case Job::kRewrite:
    case Job::kDisk:
      return;
  }
}

std::string DoneOnDisk(const Host& host, const std::string& message, Job job,
                       const std::string& path) {
  WriteDisk(path, message);
  PartObject* const part = host->OpenMessage(path.c_str());
  if (part == nullptr) {
    return "not opened";
  }
  Prepare(part, job);
  const int result = host->CommitMessage(part, nullptr, nullptr, nullptr);
  const std::string written = std::to_string(result) + DiskBytes(path);
  std::filesystem::remove(path);
  return std::to_string(result) + WithoutBoundary(written.substr(1));
}

}  // namespace

std::vector<std::string> MadeMessages() {
  const std::string text = Repeated("A line of a text that is neither long nor short.\r\n", 40);
  const std::string base64 = Repeated(Repeated("QUJDREVGR0hJSktM", 4) + "\r\n", 300);
  const std::string leaf =
      "Content-Type: text/plain; name=\"=?utf-8?Q?caf=C3=A9.txt?=\"\r\n\r\n" + text;
  const std::string attachment =
      "Content-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n"
      "Content-Disposition: attachment; filename=\"a.bin\"\r\n\r\n" +
      base64;
  const std::string inner =
      "Content-Type: multipart/alternative; boundary=inner\r\n\r\n--inner\r\n" + leaf +
      "--inner\r\nContent-Type: text/html\r\n\r\n<p>text</p>\r\n--inner--\r\n\r\n";
  return {
      "Subject: plain\r\n\r\n" + text,
      "Subject: bare\n\nbody\n",
      "Subject: quoted\r\nContent-Transfer-Encoding: "
      "quoted-printable\r\n\r\nA=20=C3=A9=\r\nB=\r\n=ZZ\r\n",
      "Subject: coded\r\n" + attachment,
      "Subject: html\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<p>" + text + "</p>\r\n",
      std::string(kMixed) + "--outer\r\n" + leaf + "--outer\r\n" + attachment + "--outer--\r\n\r\n",
      std::string(kMixed) + "preamble\r\n--outer\r\n" + inner + "--outer\r\n" + attachment +
          "--outer--\r\n\r\n",
      "Subject: alternative\r\n" + inner,
      "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n" + inner,
      std::string(kMixed) + "--outer\r\nContent-Type: message/rfc822\r\n\r\nSubject: x\r\n\r\n" +
          text + "--outer--\r\n\r\n",
      "DKIM-Signature: v=1\r\nSubject: signed\r\n\r\n" + text,
      std::string(kMixed) + Repeated("--outer\r\nX-A: b\r\n\r\nsmall\r\n", 60) +
          "--outer--\r\n\r\n",
      "no fields at all\n",
  };
}

std::vector<std::string> SampleMessages(const std::string& folder, std::size_t largest) {
  std::vector<std::string> paths;
  std::error_code ignored;
  for (std::filesystem::recursive_directory_iterator at(folder, ignored), end; at != end;
       at.increment(ignored)) {
    if (at->is_regular_file() && at->file_size() > 0 && at->file_size() <= largest) {
      paths.push_back(at->path().string());
    }
  }
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> messages;
  messages.reserve(paths.size());
  for (const std::string& path : paths) {
    messages.push_back(DiskBytes(path));
  }
  return messages;
}

std::string Everything(PartObject* part) {
  std::string all;
  for (const auto& [name, value] : Host::Headers(part)) {
    Append(all, name);
    Append(all, value);
  }
  std::array<char, 4096> name{};
  part->GetName(name.data());
  Append(all, name.data());
  Append(all, Host::Encoded(part));
  Append(all, Host::Decoded(part));
  for (PartObject* child : Host::Children(part)) {
    Append(all, Everything(child));
  }
  return all;
}

std::string Done(const Host& host, const std::string& message, Job job, const std::string& path) {
  if (job == Job::kDisk || job == Job::kDiskFooter) {
    return DoneOnDisk(host, message, job, path);
  }
  PartObject* const part = host.Open(message);
  if (part == nullptr) {
    return "not opened";
  }
  if (job == Job::kRead) {
    std::string all = Everything(part);
    host.Discard(part);
    return all;
  }
  Prepare(part, job);
  return WithoutBoundary(host.Close(part, true).value_or("(no bytes)"));
}

// A file as large as the budget fits only when there is nothing else.
bool BudgetIsFree(const Host& host, const std::string& path) {
  const FileOperations& files = host.Files();
  const std::unique_ptr<char, void (*)(void*)> most(static_cast<char*>(std::calloc(kBudget - 1, 1)),
                                                    &std::free);
  void* const handle = files.open(path.c_str(), "wb");
  const bool written =
      handle != nullptr && files.write(most.get(), 1, kBudget - 1, handle) == kBudget - 1;
  const bool inMemory = written && InMemory(host, path);
  if (handle != nullptr) {
    files.close(handle);
  }
  files.remove(path.c_str());
  return inMemory;
}

}  // namespace zevka::test
