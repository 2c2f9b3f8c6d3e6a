// Base64 of a footer's text, straight into a memory file.
#include "bench/micro/bytes.h"
#include "bench/samples.h"
#include "codec/base64_stream.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"

namespace zevka::bench {
namespace {

void Base64Stream(benchmark::State& state) {
  InstallMemoryFiles();
  const std::string text = Utf8Text(Size(state));
  const RemoveUnlessKept name("/no-such-folder/footer");
  while (state.KeepRunning()) {
    OpenFile file(name.Name(), "w");
    Base64StreamState stream;
    stream.input = Bytes(text).data();
    stream.inputLength = static_cast<std::int32_t>(text.size());
    Base64WriteStream(file.Handle(), &stream, "");
    stream.inputLength = 0;
    Base64WriteStream(file.Handle(), &stream, "\r\n");
  }
  CountBytes(state, text.size());
}
BENCHMARK(Base64Stream)->Arg(200)->Arg(10000);

}  // namespace
}  // namespace zevka::bench
