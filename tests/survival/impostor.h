// Somebody else in the place of a process, who sends garbage to cfm-app.
#ifndef TESTS_SURVIVAL_IMPOSTOR_H
#define TESTS_SURVIVAL_IMPOSTOR_H

#include "steps.h"

namespace survival {

// In the place of the agent or the manager.
Outcome SendToDaemon(Context& context, Part part);

}  // namespace survival

#endif
