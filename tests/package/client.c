#include <aaa_client.h>
#include <aaa_codec.h>
#include <username_lib.h>

/* 0 when the library answers as it does before registration. */
int main(void) {
  return aaa_is_alive() == 0 && aaa_get_session_id() == 0 ? 0 : 1;
}
