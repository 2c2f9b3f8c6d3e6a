// Where exceptions stop. The library throws nothing itself; what the C++ library throws when memory
// runs out becomes, at the edge of each host-facing operation, that operation's failure.
#ifndef ZEVKA_MIME_EDGE_H
#define ZEVKA_MIME_EDGE_H

#include <exception>

namespace zevka {

// The result of `work`, or `failure` when memory for it could not be had.
template <typename Result, typename Work>
Result OrFailure(Result failure, const Work& work) noexcept {
  try {
    return work();
  } catch (const std::exception&) {
    return failure;
  }
}

}  // namespace zevka

#endif  // ZEVKA_MIME_EDGE_H
