#include "mime/thread_record_map.h"

#include <cerrno>
#include <new>
#include <utility>

namespace zevka {

void ThreadMapDeleter::operator()(ThreadRecordMap* map) const {
  ThreadMapDestroy(map);
}

int ThreadMapCreate(ThreadRecordMapPtr& map, ReleaseRecord release) {
  ThreadRecordMapPtr made(new (std::nothrow) ThreadRecordMap);
  if (!made) {
    return -1;
  }
  made->release = release;
  map = std::move(made);
  return 0;
}

// KEEP(thread-identity-reused): a new thread with an old identity finds the old thread's record.
void* ThreadMapFind(ThreadRecordMap& map) {
  const pthread_t self = ::pthread_self();
  const MutexGuard guard(map.mutex);
  for (const ThreadRecordMap::Entry* entry = map.head.get(); entry != nullptr;
       entry = entry->next.get()) {
    if (::pthread_equal(entry->thread, self) != 0) {
      return entry->record;
    }
  }
  return nullptr;
}

int ThreadMapStore(ThreadRecordMap& map, void* record) {
  const pthread_t self = ::pthread_self();
  const MutexGuard guard(map.mutex);
  std::unique_ptr<ThreadRecordMap::Entry>* link = &map.head;
  for (; *link; link = &(*link)->next) {
    if (::pthread_equal((*link)->thread, self) != 0) {
      // KEEP(record-replaced): the old record stays its owner's; nobody stores over one by
      // accident.
      (*link)->record = record;
      return 0;
    }
  }
  link->reset(new (std::nothrow) ThreadRecordMap::Entry{self, record, nullptr});
  return *link ? 0 : ENOMEM;
}

int ThreadMapDestroy(ThreadRecordMap* map) ZEVKA_NO_THREAD_SAFETY_ANALYSIS {
  const std::unique_ptr<ThreadRecordMap> owned(map);
  if (!owned) {
    return 0;
  }
  while (owned->head) {
    const std::unique_ptr<ThreadRecordMap::Entry> first = std::move(owned->head);
    owned->head = std::move(first->next);
    if (first->record != nullptr && owned->release != nullptr) {
      owned->release(first->record);
    }
  }
  return 0;
}

}  // namespace zevka
