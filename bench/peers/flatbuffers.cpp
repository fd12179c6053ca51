// Encoding and decoding of an authentication record with FlatBuffers. Decoding verifies the buffer
// and reads every value in place, without a copy.
#include "authentication_generated.h"
#include "peers/record.h"
#include "support/workload.h"

namespace {

using flatbuffers::FlatBufferBuilder;
using OctetsOffsets = std::vector<flatbuffers::Offset<bench::flat::Octets>>;

OctetsOffsets add(FlatBufferBuilder& builder, const std::vector<std::string>& values) {
  OctetsOffsets offsets;
  for (const std::string& value : values) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(value.data());
    offsets.push_back(
        bench::flat::CreateOctets(builder, builder.CreateVector(first, value.size())));
  }
  return offsets;
}

class FlatBuffers : public bench::Workload {
 public:
  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      FlatBufferBuilder builder;
      encode(builder);
      decode(builder.GetBufferPointer(), builder.GetSize());
    }
  }

 private:
  void encode(FlatBufferBuilder& builder) const {
    const OctetsOffsets octets = add(builder, record_.octets);
    const OctetsOffsets items = add(builder, record_.items);
    const auto texts = builder.CreateVectorOfStrings(record_.texts);
    builder.Finish(bench::flat::CreateRecord(builder, builder.CreateVector(record_.numbers),
                                             builder.CreateVector(octets), texts,
                                             builder.CreateVector(items)));
  }

  static void decode(const std::uint8_t* body, std::size_t length) {
    flatbuffers::Verifier verifier(body, length);
    if (!bench::flat::VerifyRecordBuffer(verifier)) throw std::runtime_error("not a record");
    const bench::flat::Record& record = *bench::flat::GetRecord(body);
    bench::Reading reading;
    for (const std::uint32_t number : *record.numbers())
      reading.number(number);
    for (const auto* octets : *record.octets())
      reading.bytes(octets->value()->data(), octets->value()->size());
    for (const auto* text : *record.texts())
      reading.bytes(text->data(), text->size());
    for (const auto* item : *record.items())
      reading.bytes(item->value()->data(), item->value()->size());
  }

  bench::Record record_ = bench::typical_record();
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv,
                         [](const bench::Options&) { return std::make_unique<FlatBuffers>(); });
}
