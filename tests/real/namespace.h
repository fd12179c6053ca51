// A network of its own for the test program: all ports are free, and links can be made.
#pragma once

#include <string>

namespace real_test {

// Runs the program again in a user and network namespace, with the loopback interface up, unless it
// runs there already or namespaces are forbidden.
void enter_namespace(char** argv);

// Why there is none, in one line; empty in the namespace.
std::string missing_namespace();

}  // namespace real_test
