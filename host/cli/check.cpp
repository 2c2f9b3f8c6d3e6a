#include "host/cli/commands.h"

namespace zevka::host {

void AddCheck(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
