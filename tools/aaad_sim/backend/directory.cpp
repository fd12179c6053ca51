#include "backend/directory.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace aaa_sim {
namespace {

struct Filter {
  std::string_view name;
  std::string_view value;
  bool prefix = false;
};

bool same_character(unsigned char left, unsigned char right) {
  return std::tolower(left) == std::tolower(right);
}

bool same(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, same_character);
}

std::string_view without_parentheses(std::string_view text) {
  if (text.size() >= 2 && text.front() == '(' && text.back() == ')')
    return text.substr(1, text.size() - 2);
  return text;
}

std::optional<Filter> parse_filter(std::string_view text) {
  text = without_parentheses(text);
  const std::size_t equals = text.find('=');
  if (equals == 0 || equals == std::string_view::npos) return std::nullopt;
  Filter filter{text.substr(0, equals), text.substr(equals + 1)};
  if (text.find_first_of("()&|!<>~") != std::string_view::npos) return std::nullopt;
  if (filter.value.ends_with('*')) {
    filter.prefix = true;
    filter.value.remove_suffix(1);
  }
  if (filter.value.find('*') != std::string_view::npos) return std::nullopt;
  return filter;
}

bool fits(const Filter& filter, const LdapPair& pair) {
  const std::string_view value(pair.value);
  return same(filter.name, pair.name) &&
         same(filter.value, filter.prefix ? value.substr(0, filter.value.size()) : value);
}

bool is_below(std::string_view dn, std::string_view base) {
  if (base.empty() || same(dn, base)) return true;
  const std::size_t lead = dn.size() - std::min(dn.size(), base.size());
  return lead > 0 && dn[lead - 1] == ',' && same(dn.substr(lead), base);
}

bool matches(const LdapEntry& entry, const LdapSearch& search) {
  if (!is_below(entry.dn, search.base)) return false;
  const auto filter = parse_filter(search.filter);
  return !filter || std::ranges::any_of(entry.pairs,
                                        [&](const LdapPair& pair) { return fits(*filter, pair); });
}

LdapEntry with_attributes(LdapEntry entry, const std::vector<std::string>& wanted) {
  if (wanted.empty()) return entry;
  std::erase_if(entry.pairs, [&](const LdapPair& pair) {
    return std::ranges::none_of(wanted,
                                [&](const std::string& name) { return same(name, pair.name); });
  });
  return entry;
}

}  // namespace

bool is_filter(std::string_view filter) {
  return filter.empty() || parse_filter(filter).has_value();
}

std::vector<LdapEntry> search(const std::vector<LdapEntry>& directory, const LdapSearch& search) {
  std::vector<LdapEntry> found;
  for (const LdapEntry& entry : directory) {
    if (matches(entry, search)) found.push_back(with_attributes(entry, search.attributes));
  }
  return found;
}

LdapAnswer answer_search(const std::vector<LdapEntry>& directory, const LdapSearch& wanted) {
  LdapAnswer answer{.session_id = wanted.session_id, .name = wanted.name};
  if (is_filter(wanted.filter)) {
    answer.entries = search(directory, wanted);
  } else {
    answer.code = 1;
    answer.error = "Unreadable filter";
  }
  return answer;
}

}  // namespace aaa_sim
