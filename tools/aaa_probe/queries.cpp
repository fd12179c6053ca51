#include "queries.h"

#include "exchange.h"

namespace aaa_probe {

Status query_status(const Context& context) {
  const Connection connection(context.connection, {});
  context.output.print({{"new_model", aaa_get_new_model_status()},
                        {"acct_period", aaa_get_acct_period()},
                        {"acct_status", aaa_get_acct_status()},
                        {"pro_status", aaa_get_pro_status()},
                        {"local_user_public_account", aaa_is_local_user_public_account_allowed()},
                        {"acct_start_fail_policy", aaa_get_acct_start_fail_policy()},
                        {"login_service_check_mode", aaa_get_login_service_check_mode()}});
  return Status::accepted;
}

Status query_method_list(const MethodListQuery& query, const Context& context) {
  const Connection connection(context.connection, {});
  const std::uint32_t timeout = context.connection.timeout;
  const std::uint32_t exists = answer_of(
      timeout, [query] { return aaa_mlist_existed(query.kind, 0, 0, query.name.c_str()); });
  const std::uint32_t state = answer_of(
      timeout, [query] { return aaa_authen_mlist_sta_query(query.kind, query.name.c_str()); });
  context.output.print({{"method_list", query.name}, {"exists", exists != 0}, {"state", state}});
  return exists != 0 ? Status::accepted : Status::rejected;
}

Status query_group(const GroupQuery& query, const Context& context) {
  const Connection connection(context.connection, {});
  const std::uint32_t is_registered = answer_of(
      context.connection.timeout, [query] { return aaa_register_group(0, query.name.c_str(), 0); });
  if (query.state) aaa_set_rds_grp_sta(query.name.c_str(), *query.state);
  Record record = {{"group", query.name}, {"registered", is_registered != 0}};
  if (query.state) record["reported_state"] = *query.state;
  context.output.print(record);
  return is_registered != 0 ? Status::accepted : Status::rejected;
}

Status query_session_id(const Context& context) {
  const Connection connection(context.connection, {});
  context.output.print({{"session", connection.new_session_id()}});
  return Status::accepted;
}

}  // namespace aaa_probe
