#include "host/cli/commands.h"

namespace zevka::host {

void AddHeaders(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
