// Processes that each do a share of the operations.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "support/workload.h"

namespace bench {

class ManyClients : public Workload {
 public:
  // `make` runs in each client's process, one process after the other, and returns one operation.
  using Operation = std::function<void()>;
  using MakeOperation = std::function<Operation(std::size_t client)>;

  ManyClients(std::size_t clients, const MakeOperation& make);

  void run(std::size_t operations) override;

 private:
  void add_client(const MakeOperation& make);

  // A control socket for each client: number of operations to it, the same back when done.
  std::vector<int> controls_;
};

}  // namespace bench
