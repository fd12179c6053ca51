// Writes the seed corpus: one directory for each fuzz target, with bodies that the encoders made.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "codec/bodies.h"
#include "codec/ldap_two_entries.h"
#include "codec/records.h"

namespace {

namespace fs = std::filesystem;

void write(const fs::path& directory, const std::string& name, const test::Bytes& bytes) {
  fs::create_directories(directory);
  std::ofstream file(directory / name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  if (!file) {
    std::cerr << "cannot write " << directory / name << '\n';
    std::exit(EXIT_FAILURE);
  }
}

template <typename Record>
void write_info_record(const fs::path& directory) {
  using C = test::Codec<Record>;
  Record record{};
  write(directory, "empty", test::encoded(C::encode, record));
  for (const auto& descriptor : C::descriptors)
    record.*descriptor.member = test::item("value");
  for (const auto& data : C::datas) {
    record.*data.data = "some data";
    record.*data.length = 9;
  }
  if constexpr (test::has_ext_text<Record>) C::ext_text(record) = "text";
  if constexpr (test::has_ext_data<Record>) {
    C::ext_data(record) = "ext data";
    C::ext_data_len(record) = 8;
  }
  write(directory, "full", test::encoded(C::encode, record));
}

void write_radext(const fs::path& directory) {
  radext_msg record{};
  record.text_a = record.text_c = record.text_h = "text";
  record.flag_a = 1;
  test::Bytes block(AAA_RADEXT_BLOCK_SIZE);
  aaa_encap_radext_msg_sub(block.data(), &record);
  write(directory, "message", block);
}

void write_ldap_search_info(const fs::path& directory) {
  aaa_item attributes[] = {test::item("uid"), test::item("mail")};
  ldap_search_info record{};
  record.head.attr_count = 2;
  record.item_301 = test::item("base");
  record.item_307 = test::item("filter");
  record.attributes = attributes;
  write(directory, "question", test::encoded(aaa_encap_ldap_search_info, record));
}

void write_ldap_search_result(const fs::path& directory) {
  test::TwoEntries two;
  write(directory, "answer", test::encoded(aaa_encap_ldap_search_result_info, two.record));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " DIRECTORY\n";
    return EXIT_FAILURE;
  }
  const fs::path corpus = argv[1];
  write_info_record<authen_info>(corpus / "authen_info");
  write_info_record<author_info>(corpus / "author_info");
  write_info_record<acct_info>(corpus / "acct_info");
  write_info_record<result_info>(corpus / "result_info");
  write_radext(corpus / "radext");
  write_ldap_search_info(corpus / "ldap_search_info");
  write_ldap_search_result(corpus / "ldap_search_result");
}
