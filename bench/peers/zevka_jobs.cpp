// Our own library, as a host calls it.
#include "bench/host_program.h"
#include "bench/peers/library.h"

namespace zevka::bench {
namespace {

class Zevka : public MailLibrary {
 public:
  explicit Zevka(HostRoad road) : host_(road) {}

  std::string Name() const override { return ZEVKA_LIBRARY_NAME; }
  std::string Version() const override { return ZEVKA_VERSION; }

  void Do(std::string_view message, const Job& job, Counters& counters) override {
    HostWork work;
    work.decode = job.decode;
    work.write = job.write;
    HostResult result;
    host_.Do(message, work, result);
    counters.leaves += result.leaves;
    counters.decodedBytes += result.decodedBytes;
    counters.writtenBytes += result.writtenBytes;
    counters.refused += result.refused;
  }

 private:
  HostProgram host_;
};

}  // namespace

std::unique_ptr<MailLibrary> MakeLibrary() {
  return std::make_unique<Zevka>(ZEVKA_ROAD);
}

}  // namespace zevka::bench
