// The memory files of the process: begin and end of the layer, and what is done with a whole file.
//
// KEEP(files-are-found-by-key): by the key of their name alone; only the creation compares the
// names themselves, so two names with one key are one file.
// The record of a file is in the registry from its creation until it is removed, taken, committed,
// moved to disk, or renamed onto another.
//
// Threads: any, but for begin and end, which run while no file is in use. Each function takes the
// layer's mutex for its registry work, and none holds it across disk work but CommitMemoryFile.
#ifndef ZEVKA_FILEIO_MEMORY_LAYER_H
#define ZEVKA_FILEIO_MEMORY_LAYER_H

#include <cstdint>

#include "fileio/file_handle.h"
#include "fileio/memory_file.h"
#include "fileio/memory_file_registry.h"
#include "fileio/name_key.h"

namespace zevka {

// What errno says after a second open of an open memory file.
inline constexpr int kErrnoAlreadyOpen = static_cast<int>(RegistryResult::kBusy);

// Makes the mutex and the registry. 0, also when they are there; -1 with ENOMEM.
int BeginMemoryLayer();

// Discards every memory file, unwritten. 0 when there is no layer, else what destroying the mutex
// gave.
int EndMemoryLayer();

// Finds a memory file, and opens it when it is closed: position 0, flags cleared, emptied with the
// truncate flag.
//   file        the record, or null
//   openBefore  whether it was open already; it is then left as it is
// Result: kSuccess, kNotFound, or a failure of the registry.
RegistryResult OpenMemoryFile(const NameKey& key, OpenFlags flags, FileHandle*& file,
                              bool& openBefore);

// Makes an empty, open memory file that was not found before.
// Result: the record; null with ENOMEM, with EBUSY when an open file of the same name came first,
// with EIO when it could not be entered. KEEP(private-collision-file): where another file of the
// same key is there, the record is a private file, which no name leads to.
FileHandle* CreateMemoryFile(const char* name, const NameKey& key, const char* mode,
                             OpenFlags flags);

// Closes: the flags become 0, the file stays, but for one that has lost its name: its contents go,
// and with the last of those who opened it the record.
void CloseMemoryFile(FileHandle& file);

// The length of a memory file. kSuccess, kNotFound, or a failure of the registry.
RegistryResult MemoryFileLength(const NameKey& key, std::uint64_t& length);

// The data of a memory file, which keeps owning it; null also when there is no such file.
char* MemoryFileData(const NameKey& key);

// Makes `buffer`, a malloc block, the contents; see FileAttachBuffer. 0, or -1 with ENOMEM. A null
// buffer empties the file (0 bytes) or gives it `sizeBytes` bytes of its own.
int AttachMemoryBuffer(FileHandle& file, char* buffer, std::uint64_t sizeBytes);

// Takes this very file out of the registry; false when it is not there. The record stays.
bool TakeOutMemoryFile(const FileHandle& file);

// Takes a file out and frees it, open or not. kSuccess, kNotFound, or a failure of the registry.
RegistryResult RemoveMemoryFile(const NameKey& key);

// Gives a memory file another name. When the new one's key is there already, contents and position
// move into the file that has it, and the renamed record ends.
// Result: kSuccess, kNotFound, or a failure of the registry, which may have cost the file.
RegistryResult RenameMemoryFile(const NameKey& oldKey, const char* newName);

// Writes a memory file to the disk file `name`, with one write, and frees it, open or not.
//   written  false when the disk refused (errno says why): the file is then as it was
// Result: kSuccess, kNotFound, or a failure of the registry.
RegistryResult CommitMemoryFile(const NameKey& key, const char* name, bool& written);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MEMORY_LAYER_H
