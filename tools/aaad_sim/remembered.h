// Messages that are remembered; those that have an answer say so.
//
// Each throws BadBody when the message's body is too short.
#pragma once

#include "world.h"

namespace aaa_sim {

Replies remember_rare_result(World& world, const Request& request);       // 4
Replies delete_user(World& world, const Request& request);                // 8
Replies synchronise_user(World& world, const Request& request);           // 10
Replies restore_user(World& world, const Request& request);               // 11
Replies register_group(World& world, const Request& request);             // 13; 108, word 0
Replies remember_group_verdict(World& world, const Request& request);     // 14
Replies remember_online_info(World& world, const Request& request);       // 15
Replies set_radius_group_state(World& world, const Request& request);     // 16
Replies count_radius_group_change(World& world, const Request& request);  // 17
Replies clear_user(World& world, const Request& request);                 // 19
Replies back_up_user(World& world, const Request& request);               // 20
Replies remember_dot1x(World& world, const Request& request);             // 21
// 23; 125 with the words num_a, num_b, 0, 0, 0, 0 on the event connection of the client.
Replies take_radext_request(World& world, const Request& request);
Replies remember_radext_result(World& world, const Request& request);      // 24
Replies remember_password_result(World& world, const Request& request);    // 27
Replies remember_interface_control(World& world, const Request& request);  // 28
Replies remember_ldap_answer(World& world, const Request& request);        // 33
Replies move_out_user(World& world, const Request& request);               // 34

// The session id in the body of a message 19, which has its most significant byte first.
std::uint32_t cleared_session(View body);

}  // namespace aaa_sim
