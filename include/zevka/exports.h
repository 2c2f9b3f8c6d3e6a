// The twelve functions of libzevka.so. A host finds them by name through the dynamic loader; each
// stands in a plain form, a narrow form (A) and a wide form (W) with the same result.
//
// Loading the library seeds the C library's rand() from the clock and puts the memory files in
// place; unloading it, or the end of the process, discards them, unwritten. The library may be
// loaded again after dlclose and then starts afresh.
// Trap: a host that uses rand() with a seed of its own must seed again after loading.
//
// Threads: any thread may call any of them.
#ifndef ZEVKA_EXPORTS_H
#define ZEVKA_EXPORTS_H

#include <zevka/export.h>
#include <zevka/packer.h>

extern "C" {

// Makes a packer.
//   version  1; any other gives 0 and leaves *packer alone
//   packer   receives the packer; null gives 0
// Result: 1 or 0. Each call makes a new packer, independent of the others. Memory that cannot be
// had leaves as std::bad_alloc; no other function of the library throws.
// Owner: the packer is the caller's until ReleaseInterface.
ZEVKA_EXPORT int RequestInterface(int version, zevka::StandardPacker** packer);
ZEVKA_EXPORT int RequestInterfaceA(int version, zevka::StandardPacker** packer);
ZEVKA_EXPORT int RequestInterfaceW(int version, zevka::StandardPacker** packer);

// Ends a packer.
//   packer  where the packer stands; null, or null there, does nothing
// Result: 1 always.
// Traps: *packer is not cleared and must not be used again. Messages that are open do not end with
// their packer; end them before.
ZEVKA_EXPORT int ReleaseInterface(zevka::StandardPacker** packer);
ZEVKA_EXPORT int ReleaseInterfaceA(zevka::StandardPacker** packer);
ZEVKA_EXPORT int ReleaseInterfaceW(zevka::StandardPacker** packer);

// Hooks for a host's installer. They do nothing.
//   text  may be null; not kept
// Result: 1 always.
ZEVKA_EXPORT int xRegister(const char* text);
ZEVKA_EXPORT int xRegisterA(const char* text);
ZEVKA_EXPORT int xRegisterW(const wchar_t* text);
ZEVKA_EXPORT int xUnregister();
ZEVKA_EXPORT int xUnregisterA();
ZEVKA_EXPORT int xUnregisterW();

}  // extern "C"

#endif  // ZEVKA_EXPORTS_H
