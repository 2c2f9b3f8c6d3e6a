// An ordered map from keys to values, both pointers that stay the caller's: a red-black tree with
// top-down insertion and deletion. Each goes down the tree once, colouring and rotating on its way,
// and never comes back up.
//
// The layer keeps its memory files in one, under pointers to the keys inside the records; a record
// must therefore be taken out before its key changes or its memory is freed.
//
// Threads: none of its own; the layer's mutex guards the one registry of the process.
#ifndef ZEVKA_FILEIO_MEMORY_FILE_REGISTRY_H
#define ZEVKA_FILEIO_MEMORY_FILE_REGISTRY_H

#include <array>
#include <cstdint>

namespace zevka {

enum class RegistryResult : std::uint32_t {
  kSuccess = 0,
  kNoNodeMemory = 0x80000001,
  kNoContainerMemory = 0x80000003,
  kNullArgument = 0x80000005,
  kNotFound = 0x8000000B,
  kBusy = 0x80000010,  // never a tree's; the layer's word for a file that is open
};

// Below 0, 0 or above 0 as `left` stands before, at or after `right`.
using CompareKeys = int (*)(const void* left, const void* right);
// Called with an entry; not 0 ends a walk.
using VisitEntry = int (*)(const void* key, void* value, void* context);

enum class NodeColour : std::int32_t { kBlack = 0, kRed = 1 };

struct RegistryNode {
  NodeColour colour = NodeColour::kRed;
  const void* key = nullptr;
  void* value = nullptr;
  RegistryNode* parent = nullptr;
  std::array<RegistryNode*, 2> child{};  // left, right; owned by the container
};

// The container. Read its fields, change them through the functions below only.
struct MemoryFileRegistry {
  RegistryNode* root = nullptr;
  CompareKeys compare = nullptr;  // null: the keys themselves, as unsigned 64-bit values
  VisitEntry visit = nullptr;
  void* visitContext = nullptr;
};

// Makes an empty container. kNullArgument for a null `out`; kNoContainerMemory.
RegistryResult RegistryCreate(MemoryFileRegistry** out);

// The ordering of a container that none was given.
int CompareKeyValues(const void* left, const void* right);

// Sets the ordering, in an empty container; null and CompareKeyValues are the default, stored as
// null. The ordering before, null for the default.
CompareKeys RegistrySetOrdering(MemoryFileRegistry& registry, CompareKeys compare);

// Sets what Destroy calls for each entry, and Walk when it is given nothing. The callback before.
VisitEntry RegistrySetVisit(MemoryFileRegistry& registry, VisitEntry visit, void* context);

// The value of a key. `out`, not null, is set to null first. kNullArgument for a null container;
// kNotFound.
RegistryResult RegistryFind(const MemoryFileRegistry* registry, const void* key, void** out);

// Enters a key. When the key is there already nothing changes and `existing`, not null, is its
// value; otherwise it is null. kNullArgument for a null container; kNoNodeMemory: nothing changed.
RegistryResult RegistryInsert(MemoryFileRegistry* registry, const void* key, void* value,
                              void** existing);

// Takes a key out; `out`, not null, is its value. kNullArgument for a null container; kNotFound.
RegistryResult RegistryRemove(MemoryFileRegistry* registry, const void* key, void** out);

// Calls `visit`, or without one the stored callback with its stored context, for the entries in
// order while it returns 0. The callback must not change the container. kNullArgument for a null
// container.
RegistryResult RegistryWalk(const MemoryFileRegistry* registry, VisitEntry visit, void* context);

// Takes the entries out one by one, always the root's, calls the stored callback for each after it
// was taken out, and frees the container. kNullArgument for a null container.
RegistryResult RegistryDestroy(MemoryFileRegistry* registry);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MEMORY_FILE_REGISTRY_H
