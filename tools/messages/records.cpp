// The library's records, from its layouts.
#include "messages/records.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "messages/layouts.h"

namespace aaa_messages {
namespace {

// A compiler that writes members in another way is found here.
static_assert(member_name<&acct_info::class_>() == "class");
static_assert(member_name<&result_info_sub::session_id>() == "session_id");

// Passwords and what a password can be found from, a challenge answered or a session read with:
// User-Password, CHAP-Password and CHAP-Challenge, State, EAP messages, the keys of a link (309 and
// 311).
constexpr std::uint32_t secret_items[] = {2, 3, 24, 60, 79, 309, 311};

ItemList record_items(std::vector<Item> items, OtherItems other_items) {
  for (Item& item : items)
    item.secret = std::ranges::count(secret_items, item.tag) != 0;
  return {Heads::small, other_items, true, std::move(items)};
}

template <typename Items>
ItemList request_items() {
  return record_items(LayoutItems<Items>::items(), OtherItems::misread);
}

constexpr std::size_t sent_radext_size = 2784;  // the last word of the block is not sent
constexpr Row hot_backup_flag = {"flag", 344, 4, Kind::number};

Block with_row(Block block, const Row& row) {
  block.rows.insert(std::ranges::upper_bound(block.rows, row.offset, {}, &Row::offset), row);
  return block;
}

}  // namespace

const ItemList& authen_items() {
  static const ItemList list = request_items<aaa::AuthenItems>();
  return list;
}

const ItemList& author_items() {
  static const ItemList list = request_items<aaa::AuthorItems>();
  return list;
}

const ItemList& acct_items() {
  static const ItemList list = request_items<aaa::AcctItems>();
  return list;
}

const ItemList& result_items() {
  static const ItemList list =
      record_items(LayoutItems<aaa::ResultItems>::items(), OtherItems::skipped);
  return list;
}

const Block& radext_request_block() {
  static const Block block = block_of<aaa::SentRadextBlock>(sent_radext_size);
  return block;
}

const Block& radext_result_block() {
  static const Block block = block_of<aaa::ReceivedRadextBlock>();
  return block;
}

const Block& restore_user_block() {
  static const Block block = block_of<aaa::RestoreUserBlock>();
  return block;
}

const Block& hot_backup_block() {
  static const Block block = with_row(restore_user_block(), hot_backup_flag);
  return block;
}

}  // namespace aaa_messages
