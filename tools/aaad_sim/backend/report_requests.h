// Messages that report something to aaad: their types, and type and body of the answer if there is
// one. All throw BadBody.
#pragma once

#include "backend/backend.h"

namespace aaa_sim {

Replies report_rare_result(Backend& backend, const Request& request);  // 4
// 7; 103, accepted.
Replies report_accounting(Backend& backend, const Request& request);
Replies delete_user(Backend& backend, const Request& request);                 // 8
Replies synchronise_user(Backend& backend, const Request& request);            // 10
Replies restore_user(Backend& backend, const Request& request);                // 11
Replies register_group(Backend& backend, const Request& request);              // 13; 108, word 0
Replies report_group_verdict(Backend& backend, const Request& request);        // 14
Replies report_online_info(Backend& backend, const Request& request);          // 15
Replies set_radius_group_state(Backend& backend, const Request& request);      // 16
Replies report_radius_group_change(Backend& backend, const Request& request);  // 17
Replies clear_user(Backend& backend, const Request& request);                  // 19
Replies back_up_user(Backend& backend, const Request& request);                // 20
Replies report_dot1x(Backend& backend, const Request& request);                // 21
// 23; 125 on the event connection, the words num_a, num_b, 0, 0, 0, 0.
Replies request_radext(Backend& backend, const Request& request);
Replies report_radext_result(Backend& backend, const Request& request);      // 24
Replies report_password_result(Backend& backend, const Request& request);    // 27
Replies report_interface_control(Backend& backend, const Request& request);  // 28
Replies report_ldap_answer(Backend& backend, const Request& request);        // 33
Replies move_out_user(Backend& backend, const Request& request);             // 34

}  // namespace aaa_sim
