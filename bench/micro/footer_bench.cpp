// The roads of a footer, with the opening and the writing of the message: into the text, as a
// further child, and in a wrapper. What the message costs without one stands beside each.
#include "bench/micro/bytes.h"
#include "bench/micro/message.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr const char* kPlainFooter = "This message was checked.\nSample footer, line two.\n";
constexpr const char* kForeignFooter = "Diese Nachricht wurde geprüft.\nGrüße.\n";
constexpr std::size_t kText = 4096;          // bytes
constexpr std::size_t kAttachment = 100000;  // bytes

void Footer(benchmark::State& state, const std::string& message, const char* footer) {
  MimePacker packer;
  while (state.KeepRunning()) {
    PartObject* part = OpenBytes(packer, message);
    part->SetFooterText(footer);
    benchmark::DoNotOptimize(Finish(packer, part));
  }
  CountBytes(state, message.size());
}
BENCHMARK_CAPTURE(Footer, text_none, PlainMessage(kText), nullptr);
BENCHMARK_CAPTURE(Footer, text_inline, PlainMessage(kText), kPlainFooter);
BENCHMARK_CAPTURE(Footer, text_wrapper, PlainMessage(kText), kForeignFooter);
BENCHMARK_CAPTURE(Footer, quotedPrintable_inline, QuotedPrintableMessage(kText), kPlainFooter);
BENCHMARK_CAPTURE(Footer, attachment_none, Base64Message(kAttachment), nullptr);
BENCHMARK_CAPTURE(Footer, attachment_child, Base64Message(kAttachment), kForeignFooter);

}  // namespace
}  // namespace zevka::bench
