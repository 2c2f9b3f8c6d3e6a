// Does one job once, so that a tool can count its instructions: those below MeasuredJob, and
// nothing of what comes before it.
//   count_jobs          prints the names of the jobs
//   count_jobs NAME     does that job: once to warm up, and once more in MeasuredJob
// Everything is the same in each run: the messages, the names of files, the random letters.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "bench/host_program.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr const char* kPlainFooter = "This message was checked.\nSample footer, line two.\n";
constexpr const char* kForeignFooter = "Diese Nachricht wurde geprüft.\nGrüße.\n";

constexpr HostWork kFull = {.decode = true, .write = true};
constexpr HostWork kReadFields = {.readFields = true};
constexpr HostWork kSetFields = {.setField = true, .write = true};
constexpr HostWork kReencode = {.decode = true, .reencode = true, .write = true};
constexpr HostWork kPlainFooterWork = {.footer = kPlainFooter, .write = true};
constexpr HostWork kForeignFooterWork = {.footer = kForeignFooter, .write = true};

struct CountedJob {
  std::string_view name;
  std::string (*make)();
  HostWork work;
};

const std::vector<CountedJob>& Jobs() {
  static const std::vector<CountedJob> jobs = {
      {"plain", [] { return PlainMessage(5000); }, kFull},
      {"8bit", [] { return EightBitMessage(300000); }, kFull},
      {"base64", [] { return Base64Message(300000); }, kFull},
      {"quoted-printable", [] { return QuotedPrintableMessage(300000); }, kFull},
      {"usual", [] { return UsualMessage(100000); }, kFull},
      {"many-parts", [] { return ManyParts(300); }, kFull},
      {"nested", [] { return Nested(12, 20000); }, kFull},
      {"read-fields", [] { return ManyFields(1000); }, kReadFields},
      {"set-fields", [] { return ManyFields(100); }, kSetFields},
      {"base64-anew", [] { return Base64Message(100000); }, kReencode},
      {"quoted-printable-anew", [] { return QuotedPrintableMessage(100000); }, kReencode},
      {"footer-inline", [] { return PlainMessage(5000); }, kPlainFooterWork},
      {"footer-child", [] { return Base64Message(100000); }, kForeignFooterWork},
      {"footer-wrapper", [] { return PlainMessage(5000); }, kForeignFooterWork},
  };
  return jobs;
}

}  // namespace

// Its instructions, and those of what it calls, are the ones that count.
[[gnu::noinline]] void MeasuredJob(const HostProgram& host, std::string_view message,
                                   const HostWork& work, HostResult& result);

void MeasuredJob(const HostProgram& host, std::string_view message, const HostWork& work,
                 HostResult& result) {
  host.Do(message, work, result);
  asm volatile("" : : : "memory");  // no jump in place of the call
}

namespace {

void DoJob(const CountedJob& job) {
  const std::string message = job.make();
  const HostProgram host;
  HostResult result;
  // Loading the library has seeded the random letters with the time.
  std::srand(1);
  host.Do(message, job.work, result);
  std::srand(1);
  MeasuredJob(host, message, job.work, result);
  if (result.refused != 0) {
    throw std::runtime_error("the message was refused");
  }
}

int Run(const std::vector<std::string_view>& words) {
  for (const CountedJob& job : Jobs()) {
    if (words.empty()) {
      std::printf("%s\n", std::string(job.name).c_str());
    } else if (job.name == words[0]) {
      DoJob(job);
      return 0;
    }
  }
  return words.empty() ? 0 : 2;
}

}  // namespace
}  // namespace zevka::bench

int main(int argumentCount, char** arguments) {
  try {
    return zevka::bench::Run(
        std::vector<std::string_view>(arguments + 1, arguments + argumentCount));
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "count_jobs: %s\n", fault.what());
    return 1;
  }
}
