// A small map from thread identity to one record, so that several threads can walk one part at the
// same time, each at its own place.
//
// An entry, once made, stays until the map is destroyed: a thread that ends leaves its entry
// behind, and a new thread that is given the same identity finds it. The map is a plain list
// searched from the head; it holds as many entries as threads ever walked the part, which is few.
//
// Threads: find and store hold the map's own mutex, always taken after the part's. Destruction
// takes no lock.
#ifndef ZEVKA_MIME_THREAD_RECORD_MAP_H
#define ZEVKA_MIME_THREAD_RECORD_MAP_H

#include <pthread.h>

#include <memory>

#include "fileio/mutex.h"

namespace zevka {

using ReleaseRecord = void (*)(void* record);

struct ThreadRecordMap {
  struct Entry {
    pthread_t thread{};
    void* record = nullptr;  // the storing thread's; disposed of with `release`
    std::unique_ptr<Entry> next;
  };

  Mutex mutex;
  ReleaseRecord release = nullptr;
  std::unique_ptr<Entry> head ZEVKA_GUARDED_BY(mutex);  // in the order of first storing
};

// Destroys the map; see ThreadMapDestroy.
struct ThreadMapDeleter {
  void operator()(ThreadRecordMap* map) const;
};
using ThreadRecordMapPtr = std::unique_ptr<ThreadRecordMap, ThreadMapDeleter>;

// Makes an empty map.
//   release  disposes of a record when the map is destroyed; may be null
// Result: 0, or -1 when there is no memory for it: `map` is then left as it was.
int ThreadMapCreate(ThreadRecordMapPtr& map, ReleaseRecord release);

// The calling thread's record, or null.
void* ThreadMapFind(ThreadRecordMap& map);

// Stores the calling thread's record. One that it replaces is not released: it goes back to its
// owner. Result: 0, or errno when there is no memory for a new entry.
int ThreadMapStore(ThreadRecordMap& map, void* record);

// Releases every record that is not null, in the order of first storing, and frees the map, which
// may be null and must not be in use. 0.
int ThreadMapDestroy(ThreadRecordMap* map);

}  // namespace zevka

#endif  // ZEVKA_MIME_THREAD_RECORD_MAP_H
