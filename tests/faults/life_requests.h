// What a client of these tests registers with, and what it asks for.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace faults {

// That of the requests of soak/client_calls.h.
constexpr std::uint32_t some_session = 9;
constexpr std::uint32_t result_of_a_loss = 2;

// The notices whose callbacks the clients have.
constexpr std::uint32_t told_notices[] = {
    AAA_MSG_NOTIFY_DEL_MSG,        AAA_MSG_AUTHEN_GROUP_REQ,
    AAA_MSG_AUTHOR_GROUP_REQ,      AAA_MSG_ACCT_GROUP_REQ,
    AAA_MSG_GS_VALID_REQ,          AAA_MSG_GET_ONLINE_INFO,
    AAA_MSG_ENABLE_AUTHEN,         AAA_MSG_DEL_MSG_REQ,
    AAA_MSG_ADD_RADEXT_RESULT,     AAA_MSG_NOTIFY_COA_REQ,
    AAA_MSG_LOCALEAP_AUTHEN,       AAA_MSG_BACKEND_UPDATE_USER_PWD,
    AAA_MSG_LDAP_SEARCH_ENTRY_REQ, AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT,
};

// Hears all notices; waits for its results.
reg_info waiting_client();
// The same with batches and with its results by callback.
reg_info batching_client();

std::int32_t request_authorization(std::uint32_t session_id);

}  // namespace faults
