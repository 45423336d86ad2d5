// Where the property file is.
#pragma once

#include <string>

namespace properties {

// The path from the environment as it is now; "" when there is none. It need not exist.
std::string file_path();

}  // namespace properties
