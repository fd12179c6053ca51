// Seeds of the link's fuzz target, by name.
#pragma once

#include <map>
#include <string>

#include "fuzz/link/link_script.h"

namespace fuzz {

std::map<std::string, Script> link_corpus();

}  // namespace fuzz
