// What happens when the library is loaded and when it goes: the generator is seeded, the memory
// files are put in place, and an exit handler takes them away again. Nothing else runs at load;
// every other global is constant-initialised, so the order of initialisers cannot matter.
#include <cstdint>
#include <cstdlib>
#include <ctime>

#include "fileio/file_operations.h"

namespace zevka {
namespace {

constinit std::int32_t fileLayerReady = 0;

void CleanUp() {
  if (fileLayerReady != 0) {
    RemoveMemoryFiles();
    fileLayerReady = 0;
  }
}

// The handler is registered with atexit and not as a destructor function: it then runs before the
// handlers that the host registered earlier, and when the library is unloaded.
__attribute__((constructor)) void Initialise() {
  // KEEP(load-seeds-rand): the generator is the process's, and the host's seed is lost.
  std::srand(static_cast<unsigned int>(std::time(nullptr)));
  fileLayerReady = 0;
  if (InstallMemoryFiles() == 0) {
    fileLayerReady = 1;
  }
  static_cast<void>(std::atexit(&CleanUp));
}

}  // namespace
}  // namespace zevka
