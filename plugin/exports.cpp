#include <zevka/exports.h>

#include <cstdint>

#include "codec/text_holders.h"
#include "plugin/mime_packer.h"

namespace {

constexpr int kInterfaceVersion = 1;

// Set when the first host asked for a packer, and never read here: it is there to be seen in a
// debugger.
constinit std::uint8_t interfaceRequested = 0;

}  // namespace

int RequestInterface(int version, zevka::StandardPacker** packer) {
  if (version != kInterfaceVersion) {
    return 0;
  }
  interfaceRequested = 1;
  if (packer == nullptr) {
    return 0;
  }
  *packer = new zevka::MimePacker;
  return 1;
}

int RequestInterfaceA(int version, zevka::StandardPacker** packer) {
  return RequestInterface(version, packer);
}

int RequestInterfaceW(int version, zevka::StandardPacker** packer) {
  return RequestInterfaceA(version, packer);
}

// KEEP(release-always-one): the location is not cleared, and nothing to release is no failure.
int ReleaseInterface(zevka::StandardPacker** packer) {
  if (packer != nullptr && *packer != nullptr) {
    delete static_cast<zevka::MimePacker*>(*packer);
  }
  return 1;
}

int ReleaseInterfaceA(zevka::StandardPacker** packer) {
  return ReleaseInterface(packer);
}

int ReleaseInterfaceW(zevka::StandardPacker** packer) {
  return ReleaseInterfaceA(packer);
}

int xRegister([[maybe_unused]] const char* text) {
  return 1;
}

int xRegisterA(const char* text) {
  return xRegister(text);
}

int xRegisterW(const wchar_t* text) {
  if (text == nullptr) {
    return xRegister(nullptr);
  }
  const zevka::NarrowString narrow(text);
  return xRegister(narrow.Text());
}

int xUnregister() {
  return 1;
}

int xUnregisterA() {
  return xUnregister();
}

// There is nothing to convert, so this calls the plain form.
int xUnregisterW() {
  return xUnregister();
}
