// Access to words that threads share without a lock. They are plain fields of the interface; inside
// the library every access uses these functions.
#pragma once

#include <atomic>

namespace aaa {

template <class Word>
[[gnu::always_inline]] inline Word load(const Word& word) {
  return std::atomic_ref<Word>(const_cast<Word&>(word)).load(std::memory_order_relaxed);
}

template <class Word>
[[gnu::always_inline]] inline void store(Word& word, Word value) {
  std::atomic_ref<Word>(word).store(value, std::memory_order_relaxed);
}

// A reader that acquires a word sees everything written before it was released.
template <class Word>
[[gnu::always_inline]] inline Word acquire(const Word& word) {
  return std::atomic_ref<Word>(const_cast<Word&>(word)).load(std::memory_order_acquire);
}
template <class Word>
[[gnu::always_inline]] inline void release(Word& word, Word value) {
  std::atomic_ref<Word>(word).store(value, std::memory_order_release);
}

// For exact counters.
template <class Word>
[[gnu::always_inline]] inline void add(Word& word, Word amount) {
  std::atomic_ref<Word>(word).fetch_add(amount, std::memory_order_seq_cst);
}

// For approximate counters: concurrent increments may be lost.
template <class Word>
inline void add_approximately(Word& word, Word amount) {
  store(word, static_cast<Word>(load(word) + amount));
}

}  // namespace aaa
