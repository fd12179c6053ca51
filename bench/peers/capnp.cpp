// Encoding and decoding of an authentication record with Cap'n Proto: decoding is a look at every
// value in place, without a copy.
#include <capnp/message.h>
#include <capnp/serialize.h>

#include "authentication.capnp.h"
#include "peers/record.h"
#include "support/contender.h"

namespace {

constexpr unsigned first_segment_words = 512;

void fill(capnp::List<capnp::Data>::Builder list, const std::vector<std::string>& values) {
  for (unsigned i = 0; i < values.size(); i++)
    list.set(i,
             kj::arrayPtr(reinterpret_cast<const kj::byte*>(values[i].data()), values[i].size()));
}

class CapnProto : public bench::Contender {
 public:
  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      decode(encode());
  }

 private:
  kj::Array<capnp::word> encode() const {
    capnp::MallocMessageBuilder message(first_segment_words);
    auto record = message.initRoot<bench::cap::Record>();
    auto numbers = record.initNumbers(static_cast<unsigned>(record_.numbers.size()));
    for (unsigned i = 0; i < numbers.size(); i++)
      numbers.set(i, record_.numbers[i]);
    fill(record.initOctets(static_cast<unsigned>(record_.octets.size())), record_.octets);
    auto texts = record.initTexts(static_cast<unsigned>(record_.texts.size()));
    for (unsigned i = 0; i < texts.size(); i++)
      texts.set(i, record_.texts[i].c_str());
    fill(record.initItems(static_cast<unsigned>(record_.items.size())), record_.items);
    return capnp::messageToFlatArray(message);
  }

  static void decode(kj::ArrayPtr<const capnp::word> body) {
    capnp::FlatArrayMessageReader message(body);
    const auto record = message.getRoot<bench::cap::Record>();
    bench::Reading reading;
    for (const std::uint32_t number : record.getNumbers())
      reading.number(number);
    for (const auto octets : record.getOctets())
      reading.bytes(octets.begin(), octets.size());
    for (const auto text : record.getTexts())
      reading.bytes(text.begin(), text.size());
    for (const auto item : record.getItems())
      reading.bytes(item.begin(), item.size());
  }

  bench::Record record_ = bench::typical_record();
};

}  // namespace

int main(int argc, char** argv) {
  return bench::contend(argc, argv,
                        [](const bench::Options&) { return std::make_unique<CapnProto>(); });
}
