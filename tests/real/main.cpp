#include <gmock/gmock.h>

#include "real/namespace.h"

int main(int argc, char** argv) {
  real_test::enter_namespace(argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
