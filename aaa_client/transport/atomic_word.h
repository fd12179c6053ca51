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
