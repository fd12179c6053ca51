// A client that has every callback, each of which notes what it was told, on whatever thread.
#pragma once

#include <unistd.h>

#include <functional>
#include <mutex>

#include "support/library_test.h"

namespace test {

struct Note {
  std::string told;  // the callback's name and what it was given
  pid_t thread;
  std::uint32_t blocks;  // of the library, that were alive
};

class Notes {
 public:
  void add(const std::string& told) {
    {
      const std::lock_guard<std::mutex> hold(lock_);
      notes_.push_back({told, gettid(), live_blocks()});
    }
    then(told);
  }
  std::vector<Note> all() const {
    const std::lock_guard<std::mutex> hold(lock_);
    return notes_;
  }
  // Forgets the notes, and what was to be done and answered.
  void reset() {
    const std::lock_guard<std::mutex> hold(lock_);
    notes_.clear();
    then = [](const std::string&) {};
    group_answer = 0;
    online_answer = zeros(8);
  }

  std::function<void(const std::string&)> then = [](const std::string&) {};
  int group_answer = 0;
  std::string online_answer = zeros(8);

 private:
  mutable std::mutex lock_;
  std::vector<Note> notes_;
};
inline Notes notes;

inline std::vector<std::string> noted() {
  std::vector<std::string> all;
  for (const Note& note : notes.all())
    all.push_back(note.told);
  return all;
}
inline bool wait_for_notes(std::size_t count) {
  return eventually([count] { return notes.all().size() >= count; });
}

template <class Record>
void note_group(Record* record, char* group) {
  notes.add("group " + word_bytes({record->session_id}) + bytes_of(group, 256));
}

inline reg_info noting_client() {
  reg_info info = client();
  info.notify_result_cb = [](result_info* result) {
    notes.add("result " + word_bytes({result->sub.session_id}));
  };
  info.notify_del_msg_cb = [](const void* body) { notes.add("deleted " + bytes_of(body, 560)); };
  // The NUL behind the body too.
  info.notify_coa_req_cb = [](const void* body) { notes.add("coa " + bytes_of(body, 721)); };
  info.reserved_cb = [] { notes.add("reserved"); };
  info.ldap_search_result_cb = [](ldap_search_result* result) {
    notes.add("found " + word_bytes({result->head.session_id}));
  };
  info.authen_group_req_cb = note_group<authen_info>;
  info.author_group_req_cb = note_group<author_info>;
  info.acct_group_req_cb = note_group<acct_info>;
  info.del_msg_req_cb = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    notes.add("delete " + word_bytes({a, b, c}));
  };
  info.gs_valid_req_cb = [](const void* body, std::uint32_t word, std::uint32_t length) {
    notes.add("valid? " + bytes_of(body, length) + word_bytes({word, length}));
    return notes.group_answer;
  };
  info.get_online_info_cb = [](void* answer, const void* body) {
    notes.add("online? " + bytes_of(answer, 8) +
              (body == nullptr ? "null" : static_cast<const char*>(body)));
    notes.online_answer.copy(static_cast<char*>(answer), 8);
  };
  info.enable_authen_cb = [](authen_info* authen) {
    notes.add("enable " + word_bytes({authen->session_id}));
  };
  info.add_radext_result_cb = [](const void* body) { notes.add("radext " + bytes_of(body, 24)); };
  info.localeap_authen_cb = [](authen_info* authen) {
    notes.add("localeap " + word_bytes({authen->session_id}));
  };
  info.ldap_search_entry_req_cb = [](ldap_search_info* search, char* group) {
    notes.add("search " + word_bytes({search->head.session_id}) + bytes_of(group, 256));
  };
  return info;
}

}  // namespace test
