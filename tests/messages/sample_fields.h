// What several of the samples decode to, as JSON.
#pragma once

namespace test {

inline constexpr char words_2[] = R"([{"name":"w0","offset":16,"length":4,"value":1},
  {"name":"w1","offset":20,"length":4,"value":2}])";
inline constexpr char words_3[] = R"([{"name":"w0","offset":16,"length":4,"value":1},
  {"name":"w1","offset":20,"length":4,"value":2},{"name":"w2","offset":24,"length":4,"value":3}])";
inline constexpr char words_6[] = R"([{"name":"w0","offset":16,"length":4,"value":1},
  {"name":"w1","offset":20,"length":4,"value":2},{"name":"w2","offset":24,"length":4,"value":3},
  {"name":"w3","offset":28,"length":4,"value":4},{"name":"w4","offset":32,"length":4,"value":5},
  {"name":"w5","offset":36,"length":4,"value":6}])";
inline constexpr char user_words[] = R"([{"name":"session_id","offset":16,"length":4,"value":77},
  {"name":"w1","offset":20,"length":4,"value":2}])";
inline constexpr char a_result[] = R"([{"name":"result","offset":16,"length":4,"value":7}])";
inline constexpr char a_result_byte[] = R"([{"name":"result","offset":16,"length":1,"value":1}])";
inline constexpr char two_secret_items[] = R"([
  {"name":"s1","tag":1,"offset":20,"length":9,"secret":true},
  {"name":"s2","tag":2,"offset":33,"length":9,"secret":true}])";
inline constexpr char three_secret_items[] = R"([
  {"name":"s1","tag":1,"offset":20,"length":9,"secret":true},
  {"name":"s2","tag":2,"offset":33,"length":9,"secret":true},
  {"name":"s3","tag":3,"offset":46,"length":9,"secret":true}])";
inline constexpr char model[] = R"([{"name":"model_name","offset":16,"length":5,"value":"dot1x"}])";
inline constexpr char name_of_a_user[] =
    R"([{"name":"user_name","offset":16,"length":5,"value":"alice"}])";

inline constexpr char ldap_search_fields[] = R"([
  {"name":"session_id","offset":16,"length":4,"value":77},
  {"name":"words8_a","offset":20,"length":32,"value":[1,2,3,4,5,6,7,8]},
  {"name":"attr_count","offset":52,"length":4,"value":2},
  {"name":"item_306","tag":306,"offset":60,"length":4,"value":"name"},
  {"name":"item_307","tag":307,"offset":68,"length":7,"value":"uid=abc"
},
  {"name":"item_301","tag":301,"offset":79,"length":6,"value":"dc=lab"},
  {"name":"attribute","tag":308,"offset":89,"length":4,"value":"mail"},
  {"name":"attribute","tag":308,"offset":97,"length":3,"value":"uid"}])";
inline constexpr char group_ldap_search_fields[] = R"([
  {"name":"group_name_length","offset":16,"length":1,"value":3},
  {"name":"group_name","offset":17,"length":3,"value":"lab"},
  {"name":"session_id","offset":20,"length":4,"value":77},
  {"name":"words8_a","offset":24,"length":32,"value":[1,2,3,4,5,6,7,8]},
  {"name":"attr_count","offset":56,"length":4,"value":2},
  {"name":"item_306","tag":306,"offset":64,"length":4,"value":"name"},
  {"name":"item_307","tag":307,"offset":72,"length":7,"value":"uid=abc"
},
  {"name":"item_301","tag":301,"offset":83,"length":6,"value":"dc=lab"},
  {"name":"attribute","tag":308,"offset":93,"length":4,"value":"mail"},
  {"name":"attribute","tag":308,"offset":101,"length":3,"value":"uid"}])";
inline constexpr char ldap_result_fields[] = R"([
  {"name":"session_id","offset":16,"length":4,"value":77},
  {"name":"words3_a","offset":20,"length":12,"value":[1,2,3]},
  {"name":"entry_count","offset":32,"length":4,"value":1},
  {"name":"num_a","offset":36,"length":4,"value":9},
  {"name":"item_309","tag":309,"offset":44,"length":4,"value":"none"},
  {"name":"item_306","tag":306,"offset":52,"length":4,"value":"name"},
  {"name":"entry","tag":310,"offset":60,"length":59,"fields":[
    {"name":"pair_count","offset":60,"length":4,"value":2},
    {"name":"dn","tag":311,"offset":68,"length":5,"value":"uid=a"},
    {"name":"name","tag":312,"offset":77,"length":4,"value":"mail"},
    {"name":"value","tag":313,"offset":85,"length":5,"value":"a@lab"},
    {"name":"name","tag":312,"offset":94,"length":12,"value":"userPassword"},
    {"name":"value","tag":313,"offset":110,"length":9,"secret":true}]}])";
inline constexpr char local_user_fields[] = R"([
  {"name":"user_name","tag":1,"offset":24,"length":9,"secret":true},
  {"name":"value_2","tag":2,"offset":41,"length":4,"secret":true},
  {"name":"flag_4","tag":4,"offset":53,"length":4,"secret":true},
  {"name":"string_19","tag":19,"offset":65,"length":9,"secret":true},
  {"name":"string_18","tag":18,"offset":82,"length":9,"secret":true},
  {"name":"value_5","tag":5,"offset":99,"length":4,"secret":true},
  {"name":"flag_7","tag":7,"offset":111,"length":4,"secret":true},
  {"name":"flag_8","tag":8,"offset":123,"length":4,"secret":true},
  {"name":"flag_9","tag":9,"offset":135,"length":4,"secret":true},
  {"name":"value_10","tag":10,"offset":147,"length":4,"secret":true},
  {"name":"value_12","tag":12,"offset":159,"length":4,"secret":true},
  {"name":"value_20","tag":20,"offset":171,"length":4,"secret":true},
  {"name":"value_13","tag":13,"offset":183,"length":4,"secret":true},
  {"name":"password","tag":6,"offset":195,"length":9,"secret":true}])";

}  // namespace test
