// Encoding and decoding of the info records, beside the least that could do the same: a memcpy of
// the body with as many allocations.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "aaa_codec.h"
#include "transport/base/memory.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

const std::string kText(24, 't');
const std::string kData(40, 'd');

aaa_item item(const std::string& value) {
  return {0, static_cast<std::uint16_t>(value.size()), value.data()};
}

// Typical items.
void fill(authen_info& record) {
  record.user_password = item(kText);
  record.eap_message = item(kData);
  record.state = item(kData);
  record.chargeable_user_identity = item(kText);
  record.ext_text = kText.c_str();
  record.tail_data = kData.data();
  record.tail_len = static_cast<std::uint32_t>(kData.size());
}

void fill(author_info& record) {
  record.user_password = item(kText);
  record.ext_text = kText.c_str();
  record.tail_data = kData.data();
  record.tail_len = static_cast<std::uint32_t>(kData.size());
}

void fill(acct_info& record) {
  record.class_ = item(kData);
  record.chargeable_user_identity = item(kText);
  record.ext_text = kText.c_str();
  record.tail_data = kData.data();
  record.tail_len = static_cast<std::uint32_t>(kData.size());
}

void fill(result_info& record) {
  record.reply_message = item(kText);
  record.class_ = item(kData);
  record.state = item(kData);
  record.text_302 = kText.data();
  record.text_302_len = static_cast<std::uint32_t>(kText.size());
  record.tail_data = kData.data();
  record.tail_len = static_cast<std::uint32_t>(kData.size());
}

template <typename Record>
struct Functions {
  std::uint32_t (*encode)(Record*, void**);
  std::uint32_t (*decode)(Record**, const void*, std::int32_t);
  void (*release)(Record*);
};

template <typename Record>
void encode(benchmark::State& state, const Functions<Record>& functions, Record record) {
  for (auto _ : state) {
    void* body = nullptr;
    benchmark::DoNotOptimize(functions.encode(&record, &body));
    AAA_FREE(body);
  }
}

template <typename Record>
void decode(benchmark::State& state, const Functions<Record>& functions, const Bytes& body) {
  for (auto _ : state) {
    Record* record = nullptr;
    functions.decode(&record, body.data(), static_cast<std::int32_t>(body.size()));
    benchmark::DoNotOptimize(record);
    functions.release(record);
  }
}

// The first block holds the body.
void copy(benchmark::State& state, const Bytes& body, std::size_t blocks) {
  std::vector<void*> allocated(blocks);
  for (auto _ : state) {
    allocated[0] = AAA_MALLOC(static_cast<std::uint32_t>(body.size()));
    for (std::size_t i = 1; i < blocks; i++)
      allocated[i] = AAA_MALLOC(64);
    std::memcpy(allocated[0], body.data(), body.size());
    benchmark::DoNotOptimize(allocated[0]);
    benchmark::ClobberMemory();
    for (void* block : allocated)
      AAA_FREE(block);
  }
}

template <typename Record>
Bytes encoded(const Functions<Record>& functions, Record record) {
  void* body = nullptr;
  const std::uint32_t size = functions.encode(&record, &body);
  const auto* first = static_cast<const std::uint8_t*>(body);
  Bytes bytes(first, first + size);
  AAA_FREE(body);
  return bytes;
}

template <typename Record>
std::size_t blocks_of_decoding(const Functions<Record>& functions, const Bytes& body) {
  const std::uint32_t before = g_aaa_malloc_times;
  Record* record = nullptr;
  functions.decode(&record, body.data(), static_cast<std::int32_t>(body.size()));
  functions.release(record);
  return g_aaa_malloc_times - before;
}

template <typename Record>
void add_benchmarks(const std::string& name, const Functions<Record>& functions,
                    const Record& record) {
  const Bytes body = encoded(functions, record);
  const std::size_t blocks = blocks_of_decoding(functions, body);
  benchmark::RegisterBenchmark((name + "/encode").c_str(),
                               [=](auto& state) { encode(state, functions, record); });
  benchmark::RegisterBenchmark((name + "/encode/memcpy").c_str(),
                               [=](auto& state) { copy(state, body, 1); });
  benchmark::RegisterBenchmark((name + "/decode").c_str(),
                               [=](auto& state) { decode(state, functions, body); });
  benchmark::RegisterBenchmark((name + "/decode/memcpy").c_str(),
                               [=](auto& state) { copy(state, body, blocks); });
}

template <typename Record>
void add_record(const std::string& name, const Functions<Record>& functions) {
  Record record{};
  add_benchmarks(name + "/empty", functions, record);
  fill(record);
  add_benchmarks(name + "/typical", functions, record);
}

}  // namespace

int main(int argc, char** argv) {
  add_record<authen_info>("authen",
                          {aaa_encap_authen_info, aaa_parse_authen_info, aaa_free_authen_info});
  add_record<author_info>("author",
                          {aaa_encap_author_info, aaa_parse_author_info, aaa_free_author_info});
  add_record<acct_info>("acct", {aaa_encap_acct_info, aaa_parse_acct_info, aaa_free_acct_info});
  add_record<result_info>("result",
                          {aaa_encap_result_info, aaa_parse_result_info, aaa_free_result_info});
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
