// Access to words that several threads share without a lock. They are plain fields of the
// interface; every access from inside the library goes through these.
#pragma once

#include <atomic>

namespace aaa {

template <class Word>
inline Word load(const Word& word) {
  return std::atomic_ref<Word>(const_cast<Word&>(word)).load(std::memory_order_relaxed);
}

template <class Word>
inline void store(Word& word, Word value) {
  std::atomic_ref<Word>(word).store(value, std::memory_order_relaxed);
}

// A word behind which another one is read: whoever reads it sees what was written before it.
template <class Word>
inline Word acquire(const Word& word) {
  return std::atomic_ref<Word>(const_cast<Word&>(word)).load(std::memory_order_acquire);
}
template <class Word>
inline void release(Word& word, Word value) {
  std::atomic_ref<Word>(word).store(value, std::memory_order_release);
}

// Counters that must be exact: a full barrier on both sides.
template <class Word>
inline void add(Word& word, Word amount) {
  std::atomic_ref<Word>(word).fetch_add(amount, std::memory_order_seq_cst);
}

// Counters that may be approximate: concurrent increments may be lost.
template <class Word>
inline void add_approximately(Word& word, Word amount) {
  store(word, static_cast<Word>(load(word) + amount));
}

}  // namespace aaa
