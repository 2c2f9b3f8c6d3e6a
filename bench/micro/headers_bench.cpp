// Header fields of an open message: read one after the other, looked for, replaced, added.
#include <string>

#include "bench/micro/bytes.h"
#include "bench/micro/message.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kRoom = 4096;  // bytes; more than any of these fields has

// All fields of the part; how many there are.
std::size_t ReadFields(PartObject& part, std::string& name, std::string& value) {
  std::size_t count = 0;
  part.RewindHeaders();
  while (part.NextHeader(name.data(), value.data()) == 1) {
    ++count;
  }
  return count;
}

void IterateFields(benchmark::State& state) {
  MimePacker packer;
  const OpenedMessage message(packer, ManyFields(Size(state)));
  std::string name(kRoom, '\0');
  std::string value(kRoom, '\0');
  std::size_t count = 0;
  while (state.KeepRunning()) {
    count = ReadFields(*message.operator->(), name, value);
  }
  CountItems(state, count);
}
BENCHMARK(IterateFields)->Arg(1)->Arg(100)->Arg(10000);

void IterateFieldsWide(benchmark::State& state) {
  MimePacker packer;
  const OpenedMessage message(packer, ManyFields(Size(state)));
  std::wstring name(kRoom, L'\0');
  std::wstring value(kRoom, L'\0');
  std::size_t count = 0;
  while (state.KeepRunning()) {
    count = 0;
    message->RewindHeaders();
    while (message->NextHeaderW(name.data(), value.data()) == 1) {
      ++count;
    }
  }
  CountItems(state, count);
}
BENCHMARK(IterateFieldsWide)->Arg(100);

// The last of that many fields gets another value.
void ReplaceField(benchmark::State& state) {
  MimePacker packer;
  const OpenedMessage message(packer, ManyFields(Size(state)));
  const std::string last = "X-Field-" + std::to_string(Size(state) - 1);
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(message->SetHeader(last.c_str(), "another value", 1));
  }
}
BENCHMARK(ReplaceField)->Arg(1)->Arg(100)->Arg(10000);

void ReplaceFieldForeign(benchmark::State& state) {
  MimePacker packer;
  const OpenedMessage message(packer, ManyFields(1));
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(message->SetHeader("Subject", "Grüße aus München, отчёт", 1));
  }
}
BENCHMARK(ReplaceFieldForeign);

// That many fields added, with the opening and the end of the message.
void AddFields(benchmark::State& state) {
  MimePacker packer;
  const std::string bytes = ManyFields(1);
  while (state.KeepRunning()) {
    const OpenedMessage message(packer, bytes);
    for (std::size_t i = 0; i < Size(state); ++i) {
      benchmark::DoNotOptimize(message->SetHeader("X-Added", "value", 0));
    }
  }
  CountItems(state, Size(state));
}
BENCHMARK(AddFields)->Arg(1)->Arg(1000);

void ReadName(benchmark::State& state) {
  MimePacker packer;
  const OpenedMessage message(packer, Base64Message(1000));
  PartObject* child = nullptr;
  message->RewindChildren();
  while (message->NextChild(&child) == 1) {
  }
  std::string name(kRoom, '\0');
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(child->GetName(name.data()));
  }
}
BENCHMARK(ReadName);

}  // namespace
}  // namespace zevka::bench
