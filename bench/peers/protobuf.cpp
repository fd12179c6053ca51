// Encoding and decoding of an authentication record with Protocol Buffers, messages in arenas.
#include <google/protobuf/arena.h>

#include <string>

#include "authentication.pb.h"
#include "peers/record.h"
#include "support/workload.h"

namespace {

class Protobuf : public bench::Workload {
 public:
  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      decode(encode());
  }

 private:
  std::string encode() const {
    google::protobuf::Arena arena;
    auto& message = *google::protobuf::Arena::CreateMessage<bench::proto::Record>(&arena);
    message.mutable_numbers()->Add(record_.numbers.begin(), record_.numbers.end());
    for (const std::string& octets : record_.octets)
      message.add_octets(octets);
    for (const std::string& text : record_.texts)
      message.add_texts(text);
    for (const std::string& item : record_.items)
      message.add_items(item);
    return message.SerializeAsString();
  }

  static void decode(const std::string& body) {
    google::protobuf::Arena arena;
    auto& message = *google::protobuf::Arena::CreateMessage<bench::proto::Record>(&arena);
    message.ParseFromString(body);
    bench::Reading().number(message.numbers(0));
  }

  bench::Record record_ = bench::typical_record();
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv,
                         [](const bench::Options&) { return std::make_unique<Protobuf>(); });
}
