#include "host/cli/commands.h"

namespace zevka::host {

void AddFooter(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
