// Encoding and decoding of an authentication record with MessagePack: four arrays in an array.
#include <msgpack.h>

#include "peers/record.h"
#include "support/contender.h"

namespace {

void pack(msgpack_packer& packer, const std::vector<std::string>& values) {
  msgpack_pack_array(&packer, values.size());
  for (const std::string& value : values)
    msgpack_pack_bin_with_body(&packer, value.data(), value.size());
}

class MessagePack : public bench::Contender {
 public:
  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      msgpack_sbuffer body;
      msgpack_sbuffer_init(&body);
      encode(body);
      decode(body);
      msgpack_sbuffer_destroy(&body);
    }
  }

 private:
  void encode(msgpack_sbuffer& body) const {
    msgpack_packer packer;
    msgpack_packer_init(&packer, &body, msgpack_sbuffer_write);
    msgpack_pack_array(&packer, 4);
    msgpack_pack_array(&packer, record_.numbers.size());
    for (const std::uint32_t number : record_.numbers)
      msgpack_pack_uint32(&packer, number);
    pack(packer, record_.octets);
    pack(packer, record_.texts);
    pack(packer, record_.items);
  }

  static void decode(const msgpack_sbuffer& body) {
    msgpack_unpacked record;
    msgpack_unpacked_init(&record);
    if (msgpack_unpack_next(&record, body.data, body.size, nullptr) != MSGPACK_UNPACK_SUCCESS) {
      throw std::runtime_error("not a record");
    }
    bench::Reading().number(record.data.via.array.size);
    msgpack_unpacked_destroy(&record);
  }

  bench::Record record_ = bench::typical_record();
};

}  // namespace

int main(int argc, char** argv) {
  return bench::contend(argc, argv,
                        [](const bench::Options&) { return std::make_unique<MessagePack>(); });
}
