// Reading, writing and seeking on one memory file.
//
// The functions behave as the C library's namesakes on a file but for what they say below. A write
// for which the budget or the memory does not suffice moves the file to disk, under its name; from
// then on its handle is a disk handle (the stream is set), and these functions are no longer for
// it.
//
// Growth: a write that needs the whole capacity or more doubles it, or, when that is not above the
// need, goes to the next multiple of 4096 above the need. 10 bytes take 4096, 4096 bytes 8192.
//
// Threads: no lock is taken but for changes of capacity; one handle is one thread's at a time.
#ifndef ZEVKA_FILEIO_MEMORY_FILE_H
#define ZEVKA_FILEIO_MEMORY_FILE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fileio/file_handle.h"

namespace zevka {

// Reads whole items; a trailing piece of an item is copied and passed over too, without being
// counted, and sets end of file. Reading exactly to the end does not set it.
// Result: the items read; 0 for items of 0 bytes; 0 with EBADF and the error flag without the right
// to read.
std::size_t ReadMemoryFile(FileHandle& file, void* buffer, std::size_t itemSize,
                           std::size_t itemCount);

// Reads up to `bytes` bytes, in items of one, without copying: the flags and the position are as
// after ReadMemoryFile. The view holds until the file is changed or ends.
// Result: empty, with nothing done, where the bytes do not lie together, at the end, and without
// the right to read.
std::string_view ReadMemoryView(FileHandle& file, std::size_t bytes);

// Writes `bytes`, which are a view of what `from` holds at `at`, at the end of `file`, as
// WriteMemoryFile would write them; where it can, the memory is shared and nothing copied.
// Result: false, with nothing done, where that cannot be, as they are no such view.
bool ShareMemoryFile(FileHandle& file, FileHandle& from, std::uint64_t at, std::string_view bytes);
// The same with what is held from `at` on.
bool ShareHeldText(FileHandle& file, const HeldText& from, std::uint64_t at, std::uint64_t bytes);

// Writes whole items at the position, or at the end with the append flag. Flags stay as they are.
// Result: the items written, 0 for items of 0 bytes. 0 with the error flag and EBADF without the
// right to write, EOVERFLOW beyond what a position can say, the error of opening the disk file when
// the file cannot move there: its name is then gone and its contents stay with the handle. 0 with
// EIO when a file whose name is gone would have to move.
std::size_t WriteMemoryFile(FileHandle& file, const void* buffer, std::size_t itemSize,
                            std::size_t itemCount);

// Sets the position and clears both flags.
// KEEP(seek-fills-at-position): a target beyond the end first writes as many zeros as the file is
// short of it at the *current* position; only from the end does the file become that long. The
// zeros never move the file to disk: when they do not fit (ENOMEM) or may not be written (EBADF),
// nothing is written, and the position is set all the same.
// KEEP(seek-end-subtracts): SEEK_END goes back from the end by `offset`; a negative one goes
// beyond. Result: 0, for an unknown `whence` with the position as it was; -1 and the error flag
// with EINVAL for a target before the start, with ENOMEM when there is no memory for zeros that the
// budget allows.
int SeekMemoryFile(FileHandle& file, std::int64_t offset, int whence);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MEMORY_FILE_H
