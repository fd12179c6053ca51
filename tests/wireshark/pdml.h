// What tshark prints with -T pdml, as lines that can be compared.
#pragma once

#include <string>
#include <vector>

namespace test::dissector {

// A field, or a remark, of the dissector.
struct ShownField {
  std::string name;   // "aaa.authen.user_password.secret"
  std::string label;  // "user_password (2): 9 bytes, secret"
  std::string show;
  std::string offset;
  std::string length;
  int depth = 0;

  std::string line() const;
};

struct ShownPacket {
  std::string headline;  // empty when the dissector was not asked
  std::vector<ShownField> fields;
  std::vector<std::string> remarks;

  const ShownField* find(const std::string& name) const;
};

std::vector<ShownPacket> packets_of(const std::string& pdml);

}  // namespace test::dissector
