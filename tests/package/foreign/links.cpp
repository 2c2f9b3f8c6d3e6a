// A host that is linked with the library: marks a message.
#include <zevka/exports.h>

int main(int count, char** words) {
  zevka::StandardPacker* service = nullptr;
  if (count != 2 || RequestInterface(1, &service) != 1) {
    return 3;
  }
  zevka::PartObject* message = service->OpenMessage(words[1]);
  if (message == nullptr || message->SetHeader("X-Checked", "yes", 1) != 1) {
    return 4;
  }
  const int result = service->CommitMessage(message, nullptr, nullptr, nullptr);
  ReleaseInterface(&service);
  return result == 0 ? 0 : 5;
}
