// Rows of tables of tests, which have names.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace test {

// For INSTANTIATE_TEST_SUITE_P: the row's name in the name of the test.
inline constexpr auto row_name = [](const auto& tested) { return std::string(tested.param.name); };

// And in a failure's message, in place of the row's bytes.
template <class Row>
requires requires(const Row& row) {
  std::string(row.name);
}
std::ostream& operator<<(std::ostream& out, const Row& row) {
  return out << row.name;
}

}  // namespace test
