#include "HostSetup.h"

namespace tonvik {

// No Xtras are loaded yet: scripts run with the language and its built-ins only, and `wait`
// sleeps.
void installHost(Interpreter&, const Options&) {}

}  // namespace tonvik
