// Writes the seed corpus: one directory for each fuzz target, with bodies that the encoders made,
// and for the link with messages around them.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "fuzz/link_corpus.h"
#include "hostile/full_bodies.h"

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
  Record record{};
  write(directory, "empty", test::encoded(test::Codec<Record>::encode, record));
  write(directory, "full", test::full_body<Record>());
}

void write_radext(const fs::path& directory) {
  radext_msg record{};
  record.text_a = record.text_c = record.text_h = "text";
  record.flag_a = 1;
  test::Bytes block(AAA_RADEXT_BLOCK_SIZE);
  aaa_encap_radext_msg_sub(block.data(), &record);
  write(directory, "message", block);
}

void write_link(const fs::path& directory) {
  for (const auto& [name, script] : fuzz::link_corpus())
    write(directory, name, fuzz::write_script(script));
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
  write(corpus / "ldap_search_info", "question", test::ldap_question_body());
  write(corpus / "ldap_search_result", "answer", test::ldap_answer_body());
  write_link(corpus / "link");
}
