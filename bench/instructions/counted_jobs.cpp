#include "bench/instructions/counted_jobs.h"

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

}  // namespace

const std::vector<CountedJob>& CountedJobs() {
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

}  // namespace zevka::bench
