#include "wireshark/pdml.h"

#include <cstddef>
#include <string_view>
#include <utility>

namespace test::dissector {
namespace {

std::string unescaped(std::string text) {
  const std::pair<std::string_view, std::string_view> entities[] = {
      {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#x27;", "'"}, {"&amp;", "&"}};
  for (const auto& [entity, character] : entities)
    for (std::size_t at = 0; (at = text.find(entity, at)) != std::string::npos; ++at)
      text.replace(at, entity.size(), character);
  return text;
}

std::string attribute(std::string_view tag, const std::string& name) {
  const std::string key = " " + name + "=\"";
  const std::size_t begin = tag.find(key);
  if (begin == std::string_view::npos) return "";
  tag.remove_prefix(begin + key.size());
  return unescaped(std::string(tag.substr(0, tag.find('"'))));
}

class Reader {
 public:
  std::vector<ShownPacket> read(std::string_view pdml) {
    for (std::size_t at = 0; (at = pdml.find('<', at)) != std::string_view::npos;) {
      const std::size_t end = pdml.find('>', at);
      if (end == std::string_view::npos) break;
      take(pdml.substr(at, end - at + 1));
      at = end;
    }
    return std::move(packets_);
  }

 private:
  void take(std::string_view tag) {
    if (tag == "<packet>") packets_.emplace_back();
    if (tag.starts_with("<proto ")) take_protocol(tag);
    if (tag == "</proto>") in_protocol_ = false;
    if (tag == "</field>") --depth_;
    if (!tag.starts_with("<field ")) return;
    if (in_protocol_) take_field(tag);
    if (!tag.ends_with("/>")) ++depth_;
  }

  void take_protocol(std::string_view tag) {
    in_protocol_ = attribute(tag, "name") == "aaa";
    depth_ = 0;
    if (in_protocol_) packets_.back().headline = attribute(tag, "showname");
  }

  void take_field(std::string_view tag) {
    const std::string name = attribute(tag, "name");
    ShownPacket& packet = packets_.back();
    if (name == "aaa.remark") packet.remarks.push_back(attribute(tag, "showname"));
    if (name.starts_with("_ws.lua")) packet.remarks.push_back("Lua: " + attribute(tag, "showname"));
    if (name == "aaa.remark" || !name.starts_with("aaa.")) return;
    packet.fields.push_back({name, attribute(tag, "showname"), attribute(tag, "show"),
                             attribute(tag, "pos"), attribute(tag, "size"), depth_});
  }

  std::vector<ShownPacket> packets_;
  bool in_protocol_ = false;
  int depth_ = 0;
};

}  // namespace

std::string ShownField::line() const {
  return std::string(static_cast<std::size_t>(2 * depth), ' ') + name + " at " + offset + ", " +
         length + " bytes: " + show;
}

const ShownField* ShownPacket::find(const std::string& wanted) const {
  for (const ShownField& field : fields)
    if (field.name == wanted) return &field;
  return nullptr;
}

std::vector<ShownPacket> packets_of(const std::string& pdml) {
  return Reader().read(pdml);
}

}  // namespace test::dissector
