#include "host/cli/commands.h"

namespace zevka::host {

void AddShow(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
