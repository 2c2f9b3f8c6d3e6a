// A host with the headers alone: loads the library, marks a message.
#include <dlfcn.h>
#include <zevka/exports.h>

int main(int count, char** words) {
  void* library = count == 3 ? dlopen(words[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (library == nullptr) {
    return 2;
  }
  const auto request =
      reinterpret_cast<decltype(&RequestInterface)>(dlsym(library, "RequestInterface"));
  const auto release =
      reinterpret_cast<decltype(&ReleaseInterface)>(dlsym(library, "ReleaseInterface"));
  zevka::StandardPacker* service = nullptr;
  if (request == nullptr || release == nullptr || request(1, &service) != 1) {
    return 3;
  }
  zevka::PartObject* message = service->OpenMessage(words[2]);
  if (message == nullptr || message->SetHeader("X-Checked", "yes", 1) != 1) {
    return 4;
  }
  const int result = service->CommitMessage(message, nullptr, nullptr, nullptr);
  release(&service);
  return result == 0 ? 0 : 5;
}
