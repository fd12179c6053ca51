// Many processes that do a share of the operations each.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "support/contender.h"

namespace bench {

class ManyClients : public Contender {
 public:
  // `make` is called in each client's process, one process after the other, and returns what does
  // one operation.
  using Operation = std::function<void()>;
  using MakeOperation = std::function<Operation(std::size_t client)>;

  ManyClients(std::size_t clients, const MakeOperation& make);

  void run(std::size_t operations) override;

 private:
  void add_client(const MakeOperation& make);

  // One for each client: the number of operations there, the word that they are done back.
  std::vector<int> orders_;
};

}  // namespace bench
