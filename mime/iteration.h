// Walks the header fields and the children of a part, each thread at its own place. A thread has no
// place before its first rewind; each rewind sets only its own cursor.
//
// Threads: the caller holds the part's lock; the map of places has its own, taken after it.
#ifndef ZEVKA_MIME_ITERATION_H
#define ZEVKA_MIME_ITERATION_H

#include "mime/part_state.h"
#include "mime/thread_record_map.h"

namespace zevka {

// One thread's place in a part.
struct IteratorState {
  HeaderList::iterator header;  // the field to give next; end() for none
  PartList::iterator child;     // the child to give next; end() for none
};

// Disposes of an IteratorState; for ThreadMapCreate.
void ReleaseIteratorState(void* state);

// The calling thread's place, or null before its first rewind. `map` may be null.
IteratorState* FindIterator(ThreadRecordMap* map);

// Set the calling thread's cursor to the first field or child. False when there is no memory for a
// place.
bool RewindHeaderCursor(PartState& part, ThreadRecordMap* map);
bool RewindChildCursor(PartState& part, ThreadRecordMap* map);

// The field that the calling thread gets next, or null: no place, no field left, or a removed part.
const HeaderNode* CurrentField(PartState& part, ThreadRecordMap* map);

// The next child of the calling thread, or null. Removed children are skipped, but for the last
// one.
MIMEPart* TakeNextChild(PartState& part, ThreadRecordMap* map);

}  // namespace zevka

#endif  // ZEVKA_MIME_ITERATION_H
