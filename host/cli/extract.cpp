#include "host/cli/commands.h"

namespace zevka::host {

void AddExtract(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
