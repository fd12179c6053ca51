// What the simulator answers to the queries of a ClientLoad. Each answer says which request it
// belongs to.
#pragma once

#include "aaad_sim.h"

namespace soak {

void answer_queries(aaa_sim::AaadSim& sim);

}  // namespace soak
