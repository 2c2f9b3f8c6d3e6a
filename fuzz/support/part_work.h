// What a host may do with an open message, one step after the other as the steering says: any slot
// of any part that can be reached, with the laws that hold for each of them.
#ifndef ZEVKA_FUZZ_SUPPORT_PART_WORK_H
#define ZEVKA_FUZZ_SUPPORT_PART_WORK_H

#include <string>

#include "fuzz/support/messages.h"
#include "fuzz/support/steering.h"
#include "mime/mime_part.h"

namespace zevka::fuzz {

class PartWork {
 public:
  //   message    stays the caller's, and open
  //   mayUseDisk whether bodies may be brought to disk
  PartWork(OpenedMessage& message, Steering& steering, bool mayUseDisk)
      : message_(message), steering_(steering), mayUseDisk_(mayUseDisk) {}

  void Step();

 private:
  MIMEPart& SomePart();
  void SetField(MIMEPart& part);
  void Remove(MIMEPart& part);
  void WriteBody(MIMEPart& part, bool decoded);
  void ReadBody(MIMEPart& part, bool decoded);
  void SetFooter(MIMEPart& part);
  void BringToDisk(MIMEPart& part);
  void AskNames(MIMEPart& part);
  void LookIntoBuffers(MIMEPart& part);
  void WalkFields(MIMEPart& part);
  void WalkChildren(MIMEPart& part);
  void AskSmallThings(MIMEPart& part);

  OpenedMessage& message_;
  Steering& steering_;
  bool mayUseDisk_;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_PART_WORK_H
