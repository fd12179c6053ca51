// Options of AddressSanitizer, where the tests are built with it. A thread that is cancelled leaves
// the marks of its scopes on its stack; taking down an alternate signal stack there would be
// reported as an access to one of them.
extern "C" const char* __asan_default_options();

const char* __asan_default_options() {
  return "use_sigaltstack=0";
}
