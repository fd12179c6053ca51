// Encoding and decoding of an authentication record. --bytes: of its body. --items N: N items of 24
// bytes, at most 14, instead of the typical items.
#include <string>

#include "aaa_client.h"
#include "support/records.h"
#include "support/workload.h"

namespace {

const std::string text(24, 't');

authen_info record_with(std::size_t items) {
  constexpr aaa_item authen_info::*members[] = {
      &authen_info::user_password,
      &authen_info::chap_password,
      &authen_info::chap_challenge,
      &authen_info::nas_ip_address,
      &authen_info::eap_message,
      &authen_info::state,
      &authen_info::tunnel_private_group_id,
      &authen_info::chargeable_user_identity,
      &authen_info::item_305,
      &authen_info::item_309,
      &authen_info::framed_ipv6_address,
      &authen_info::item_306,
      &authen_info::item_307,
      &authen_info::item_308,
  };
  authen_info record = {};
  for (const auto member : members) {
    if (items == 0) break;
    record.*member = {0, static_cast<std::uint16_t>(text.size()), text.data()};
    items--;
  }
  return record;
}

authen_info record_of(const bench::Options& options) {
  if (options.has("items")) return record_with(options.number("items", 0));
  return bench::typical_request(options.number("bytes", bench::codec_body));
}

class Codec : public bench::Workload {
 public:
  explicit Codec(const bench::Options& options) : record_(record_of(options)) {}

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      encode_and_decode();
  }

 private:
  void encode_and_decode() {
    void* body = nullptr;
    const std::uint32_t length = aaa_encap_authen_info(&record_, &body);
    authen_info* decoded = nullptr;
    aaa_parse_authen_info(&decoded, body, static_cast<std::int32_t>(length));
    aaa_free_authen_info(decoded);
    aaa_free(0, "", body);
  }

  authen_info record_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Codec>(options); });
}
