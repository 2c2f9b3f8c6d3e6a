#include "host/safe_edit/field_values.h"

#include "host/kit/text.h"
#include "host/safe_edit/outline.h"

namespace zevka::host {

bool SameValue(std::string_view left, std::string_view right) {
  return left == right || Trim(Unfolded(left)) == Trim(Unfolded(right));
}

}  // namespace zevka::host
