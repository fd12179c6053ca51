// A client of a ScriptedAaad: it reads all that it is given, and asks aaad whatever a notice tells
// it to ask. What the tests need to know of the library's inside is in scripted_client.cpp alone.
#pragma once

#include <cstdint>
#include <string>

#include "aaa_client.h"
#include "fuzz/link/scripted_aaad.h"
#include "support/leak_check.h"

namespace fuzz {

// A notice of type 123 has it ask the question that the first word names.
reg_info scripted_client();

// The numbers of traffic::questions() come first.
enum Question : std::uint32_t { kResult = 100, kForgetUser, kAccounting };
void ask_aaad(std::uint32_t question, std::uint32_t word);

// Whether the client has waited for a result: the library leaves the results of other sessions
// allocated.
bool has_waited_for_result();
void forget_waiting();

// The receive thread's routine, on the calling thread, until end_receive_thread() is called inside
// one of its calls: the pass at hand, or the attempt to connect, is then the last.
void run_receive_thread();
void end_receive_thread();

// Ends the program when the library holds a socket or a lock; leaves it as after loading.
void forget_client(const ScriptedAaad& aaad);

// The blocks that decoders leave allocated on purpose: a string or data item that comes again
// replaces the pointer to the earlier one's copy; a result whose arena finds no memory leaves one
// of its items, an LDAP answer whose pool finds none the pairs of its entries. Whether that
// explains the blocks that are left after decoding whatever records stand in `bytes`.
bool are_intended(std::uint32_t blocks_left, const std::string& bytes,
                  std::uint32_t failed_allocations);

}  // namespace fuzz
