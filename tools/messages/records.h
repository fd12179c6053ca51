// The blocks and item lists of bodies.
#pragma once

#include "messages/catalogue.h"

namespace aaa_messages {

const Block& header_block();  // before every body

const ItemList& authen_items();
const ItemList& author_items();
const ItemList& acct_items();
const ItemList& result_items();

const Block& radext_request_block();
const Block& radext_result_block();
const Block& restore_user_block();
const Block& hot_backup_block();  // with a flag that restore_user_block() has not

const Block& ldap_search_head_block();
const ItemList& ldap_search_items();
const Block& ldap_result_head_block();
const ItemList& ldap_result_items();

const ItemList& local_user_items();
const ItemList& password_check_items();
const ItemList& password_change_items();
const ItemList& file_grant_items();
const ItemList& group_state_items();

const Block& status_block();

}  // namespace aaa_messages
