// Compares the header fields of a part before and after a change.
//
// Source: RFC 5322 2.2.
#ifndef ZEVKA_HOST_SAFE_EDIT_VERIFY_FIELDS_H
#define ZEVKA_HOST_SAFE_EDIT_VERIFY_FIELDS_H

#include <string>
#include <vector>

#include "host/safe_edit/outline.h"
#include "host/safe_edit/verify.h"

namespace zevka::host {

// What is wrong with the fields of a part that nobody asked to change; empty when they are the
// same.
std::string DifferenceOfFields(const OutlinePart& before, const OutlinePart& after);

// What is wrong with the fields of the message; empty when all the old ones are there, in their
// order, all that were asked for, and no others.
std::string DifferenceOfMessageFields(const OutlinePart& before, const OutlinePart& after,
                                      const AppliedEdit& edit);

// The same for a message whose body was wrapped: its fields are partly the wrapper's, partly the
// first part's.
std::string DifferenceOfWrappedFields(const OutlinePart& before, const OutlinePart& wrapper,
                                      const OutlinePart& firstPart, const AppliedEdit& edit);

// The name of the first field that was asked for and is not there; empty when all are.
std::string MissingField(const OutlinePart& message, const AppliedEdit& edit);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_VERIFY_FIELDS_H
