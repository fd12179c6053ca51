#include "accounting.h"

#include "bytes.h"
#include "results.h"

namespace aaa_probe {
namespace {

std::uint32_t low_word(std::uint64_t number) {
  return static_cast<std::uint32_t>(number);
}

std::uint32_t high_word(std::uint64_t number) {
  return static_cast<std::uint32_t>(number >> 32);
}

void put_totals(acct_info& record, const AccountingOptions& options) {
  record.num_b = options.seconds;
  record.num_c = low_word(options.octets_in);
  record.num_f = high_word(options.octets_in);
  record.num_d = low_word(options.octets_out);
  record.num_g = high_word(options.octets_out);
  record.num_i = options.packets_in;
  record.num_j = options.packets_out;
  record.num_e = options.terminate_cause;
  record.num_h = options.delay;
}

acct_info record_of(const AccountingOptions& options, std::uint32_t session_id) {
  acct_info record{};
  record.code_a = static_cast<std::uint32_t>(options.kind);
  record.session_id = session_id;
  put_totals(record, options);
  record.class_ = item_of(options.class_attribute);
  record.chargeable_user_identity = item_of(options.places.chargeable_user_identity);
  copy_to_member(record.chars65_a, sizeof record.chars65_a, options.user);
  copy_to_member(record.octets100_a, sizeof record.octets100_a, options.places.nas_port_id);
  copy_to_member(record.octets100_b, sizeof record.octets100_b, options.places.called_station);
  copy_to_member(record.octets128_a, sizeof record.octets128_a, options.places.calling_station);
  return record;
}

}  // namespace

Status account(const AccountingOptions& options, const Context& context) {
  const Connection connection(context.connection, registration_for_results());
  const auto report = [&](std::uint32_t number, const std::function<void()>& starts) {
    acct_info record = record_of(options, options.session_id + number);
    return ask(record.session_id, context.connection.timeout, [&] {
      starts();
      return aaa_user_req_acct(&record);
    });
  };
  if (options.load.is_load()) {
    const Attempt attempt = [&](std::uint32_t number, const std::function<void()>& starts) {
      return status_of(report(number, starts));
    };
    return run_load(options.load, attempt, context.output);
  }
  const Answer answer = report(0, [] {});
  context.output.print(record_of(answer));
  return status_of(answer);
}

}  // namespace aaa_probe
