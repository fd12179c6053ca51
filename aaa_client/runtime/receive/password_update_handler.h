// The client's handler for password updates that aaad asks for.
#pragma once

#include "aaa_client.h"

namespace aaa {

extern aaa_user_pwd_update_fn g_aaa_user_pwd_update_req_handle;

}  // namespace aaa
