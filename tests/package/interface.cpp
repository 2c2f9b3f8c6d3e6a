// The library's interface without the library: the twelve functions as exports.h declares them, and
// one more that leads to the types that a host reaches by casting and by QueryControl. Compiled
// with debug information, it shows abidw all that a host sees, whatever lies behind it.
#include <zevka/exports.h>
#include <zevka/file_operations.h>

extern "C" ZEVKA_EXPORT int ReachedByCast(zevka::CStandardPacker* packer,
                                          zevka::FileOperations* files, zevka::QueryCode query,
                                          zevka::ReleaseCode release);

int ReachedByCast(zevka::CStandardPacker* /*packer*/, zevka::FileOperations* /*files*/,
                  zevka::QueryCode /*query*/, zevka::ReleaseCode /*release*/) {
  return 0;
}

int RequestInterface(int /*version*/, zevka::StandardPacker** /*packer*/) {
  return 0;
}
int RequestInterfaceA(int /*version*/, zevka::StandardPacker** /*packer*/) {
  return 0;
}
int RequestInterfaceW(int /*version*/, zevka::StandardPacker** /*packer*/) {
  return 0;
}
int ReleaseInterface(zevka::StandardPacker** /*packer*/) {
  return 0;
}
int ReleaseInterfaceA(zevka::StandardPacker** /*packer*/) {
  return 0;
}
int ReleaseInterfaceW(zevka::StandardPacker** /*packer*/) {
  return 0;
}
int xRegister(const char* /*text*/) {
  return 0;
}
int xRegisterA(const char* /*text*/) {
  return 0;
}
int xRegisterW(const wchar_t* /*text*/) {
  return 0;
}
int xUnregister() {
  return 0;
}
int xUnregisterA() {
  return 0;
}
int xUnregisterW() {
  return 0;
}
