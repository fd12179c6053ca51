// Where the fields of the large blocks are, and which items the records have, in wire order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace test {

struct BlockRow {
  std::size_t offset;
  std::size_t width;
  const char* name;
};

struct ItemRow {
  std::uint32_t tag;
  const char* name;
  bool secret = false;
};

inline constexpr BlockRow authen_rows[] = {
    {0, 4, "num_a"},         {4, 1, "code_a"},          {5, 1, "code_b"},
    {6, 1, "code_c"},        {7, 1, "flag_a"},          {8, 1, "flag_b"},
    {9, 1, "flag_c"},        {10, 1, "byte_a"},         {11, 6, "octets6_a"},
    {17, 6, "octets6_b"},    {23, 6, "octets6_c"},      {29, 100, "octets100_a"},
    {129, 33, "chars33_a"},  {162, 36, "octets36_a"},   {198, 65, "chars65_a"},
    {263, 64, "octets64_a"}, {327, 64, "octets64_b"},   {391, 1, "byte_c"},
    {392, 2, "short_a"},     {396, 4, "num_b"},         {400, 4, "session_id"},
    {404, 4, "num_c"},       {408, 4, "num_d"},         {412, 4, "num_e"},
    {416, 4, "num_f"},       {420, 4, "num_g"},         {424, 4, "num_h"},
    {428, 4, "num_i"},       {432, 4, "num_j"},         {436, 4, "num_k"},
    {440, 4, "num_l"},       {444, 4, "num_m"},         {448, 4, "num_n"},
    {452, 4, "num_o"},       {456, 4, "ext_data_len"},  {460, 4, "num_p"},
    {464, 4, "num_q"},       {472, 128, "octets128_a"}, {600, 2, "short_b"},
    {602, 2, "short_c"},     {604, 1, "byte_b"},        {608, 16, "octets16_a"},
    {624, 16, "octets16_b"}, {640, 16, "octets16_c"},   {656, 1, "flag_d"},
    {664, 8, "wide_a"},      {672, 100, "octets100_b"}, {772, 4, "num_r"},
    {776, 7, "chars7_a"},    {809, 1, "byte_d"},        {810, 32, "octets32_a"},
    {842, 32, "octets32_b"}, {874, 32, "octets32_c"},   {908, 4, "num_s"},
    {912, 4, "num_t"},       {916, 4, "num_u"},         {920, 256, "octets256_a"},
    {1176, 4, "num_v"},
};

inline constexpr BlockRow author_rows[] = {
    {0, 4, "num_a"},      {4, 1, "code_a"},    {5, 1, "code_b"},
    {8, 4, "session_id"}, {12, 4, "num_b"},    {20, 128, "octets128_a"},
    {148, 2, "short_a"},  {150, 2, "short_b"}, {152, 1, "flag_a"},
};

inline constexpr BlockRow acct_rows[] = {
    {0, 4, "num_a"},           {4, 1, "code_a"},          {5, 1, "code_b"},
    {6, 1, "code_c"},          {7, 1, "byte_a"},          {8, 6, "octets6_a"},
    {14, 6, "octets6_b"},      {20, 6, "octets6_c"},      {26, 100, "octets100_a"},
    {126, 32, "words8_a"},     {158, 1, "byte_b"},        {159, 65, "chars65_a"},
    {224, 128, "words32_a"},   {352, 1, "byte_d"},        {354, 2, "short_a"},
    {356, 4, "num_f"},         {360, 4, "num_c"},         {364, 4, "num_d"},
    {368, 4, "num_e"},         {372, 4, "num_b"},         {376, 32, "words8_b"},
    {408, 4, "session_id"},    {412, 4, "num_g"},         {416, 4, "num_k"},
    {420, 16, "words4_a"},     {436, 4, "num_i"},         {440, 4, "num_j"},
    {444, 28, "words7_a"},     {472, 1, "byte_c"},        {476, 16, "octets16_a"},
    {492, 16, "octets16_b"},   {508, 16, "octets16_c"},   {524, 4, "num_h"},
    {528, 128, "octets128_a"}, {656, 2, "short_b"},       {658, 2, "short_c"},
    {660, 1, "flag_a"},        {664, 100, "octets100_b"}, {764, 4, "num_l"},
    {768, 1, "flag_b"},
};

inline constexpr BlockRow result_rows[] = {
    {0, 4, "num_a"},
    {4, 1, "code_a"},
    {5, 1, "code_b"},
    {6, 1, "code_c"},
    {7, 1, "code_d"},
    {8, 1, "code_e"},
    {9, 1, "code_f"},
    {10, 1, "code_g"},
    {11, 65, "chars65_a"},
    {76, 256, "octets256_a"},
    {332, 64, "words16_a"},
    {396, 65, "chars65_b"},
    {461, 65, "chars65_c"},
    {526, 4, "num_e"},
    {530, 2, "short_c"},
    {532, 1, "code_h"},
    {533, 1, "byte_a"},
    {534, 32, "words8_a"},
    {566, 1, "byte_b"},
    {568, 2, "flag_a"},
    {572, 4, "session_id"},
    {576, 4, "num_b"},
    {580, 20, "words5_a"},
    {600, 4, "num_c"},
    {604, 76, "words19_a"},
    {680, 276, "octets276_a"},
    {956, 4, "num_d"},
    {960, 16, "words4_a"},
    {976, 4, "ext_data_len"},
    {980, 20, "words5_b"},
    {1000, 128, "octets128_b"},
    {1128, 128, "octets128_a"},
    {1256, 2, "short_a"},
    {1258, 2, "short_b"},
    {1260, 1, "flag_b"},
    {1264, 4, "num_f"},
    {1272, 8, "wide_a"},
};

inline constexpr BlockRow radext_rows[] = {
    {0, 128, "octets128_a"},    {128, 2, "short_a"},       {130, 1, "byte_a"},
    {132, 16, "words4_a"},      {148, 4, "flag_a"},        {152, 4, "num_a"},
    {156, 4, "num_b"},          {160, 128, "octets128_b"}, {288, 254, "text_a"},
    {544, 254, "text_b"},       {800, 4, "num_c"},         {804, 4, "num_d"},
    {824, 4, "num_e"},          {828, 254, "text_c"},      {1082, 254, "text_d"},
    {1336, 254, "text_e"},      {1590, 254, "text_f"},     {1844, 254, "text_g"},
    {2100, 416, "octets416_a"}, {2516, 1, "byte_b"},       {2520, 4, "num_f"},
    {2524, 4, "num_g"},         {2528, 1, "byte_c"},       {2529, 2, "short_b"},
    {2531, 250, "text_h"},
};

inline constexpr BlockRow restore_user_rows[] = {
    {0, 4, "num_a"},         {4, 6, "octets6_a"},     {10, 6, "octets6_b"}, {16, 253, "chars253_a"},
    {270, 64, "octets64_a"}, {335, 1, "code_a"},      {336, 4, "num_b"},    {340, 4, "num_c"},
    {348, 4, "num_d"},       {352, 16, "octets16_a"}, {368, 4, "num_e"},    {372, 4, "num_f"},
    {376, 6, "octets6_c"},   {384, 4, "num_g"},       {388, 4, "num_h"},
};

inline constexpr ItemRow authen_items[] = {
    {2, "user_password", true},
    {3, "chap_password", true},
    {60, "chap_challenge", true},
    {4, "nas_ip_address"},
    {79, "eap_message", true},
    {24, "state", true},
    {81, "tunnel_private_group_id"},
    {89, "chargeable_user_identity"},
    {305, "item_305"},
    {309, "item_309", true},
    {168, "framed_ipv6_address"},
    {306, "item_306"},
    {307, "item_307"},
    {308, "item_308"},
    {298, "ext_data"},
    {301, "ext_text"},
    {299, "tail_data"},
};

inline constexpr ItemRow author_items[] = {
    {2, "user_password", true},
    {301, "ext_text"},
    {299, "tail_data"},
};

inline constexpr ItemRow acct_items[] = {
    {2, "user_password", true},
    {25, "class"},
    {89, "chargeable_user_identity"},
    {305, "item_305"},
    {168, "framed_ipv6_address"},
    {306, "item_306"},
    {307, "item_307"},
    {308, "item_308"},
    {301, "ext_text"},
    {299, "tail_data"},
    {322, "data_322"},
};

inline constexpr ItemRow result_items[] = {
    {87, "nas_port_id"},
    {18, "reply_message"},
    {25, "class"},
    {79, "eap_message", true},
    {2, "user_password", true},
    {24, "state", true},
    {89, "chargeable_user_identity"},
    {304, "item_304"},
    {309, "item_309", true},
    {311, "item_311", true},
    {318, "item_318"},
    {319, "item_319"},
    {320, "item_320"},
    {298, "ext_data"},
    {302, "text_302"},
    {303, "text_303"},
    {299, "tail_data"},
    {321, "data_321"},
    {322, "data_322"},
};

}  // namespace test
