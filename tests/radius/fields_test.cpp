// Which member of a request is which attribute: the rows of docs/fields.md.
#include "radius/fields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "radius/scripted_server.h"

namespace radius_test {
namespace {

using aaa_sim::item_of;
using aaa_sim::set_text;
using aaa_sim::radius::Attributes;
using aaa_sim::radius::attributes_of;
using aaa_sim::radius::BadRecord;
using aaa_sim::radius::TooLong;

// As they are sent, but that a password is not hidden.
Bytes bytes_of(const Attributes& attributes) {
  Bytes bytes;
  for (const auto& [type, value] : attributes.all())
    bytes = bytes + attribute(static_cast<std::uint8_t>(type), value);
  return bytes;
}

// What every request has at least.
const Bytes kNasIdentifier = hex("2008 6e61732d3031");
const Bytes kAcctSessionId = hex("2c0a 3030303061626364");

authen_info login_record() {
  authen_info record{};
  record.session_id = 0xabcd;
  return record;
}

Bytes bytes_of(const authen_info& record) {
  return bytes_of(attributes_of(record, "nas-01"));
}

// The attributes of the record behind those of an empty one.
Bytes bytes_of(const acct_info& record) {
  return bytes_of(attributes_of(record, "nas-01"));
}

const Bytes kEmptyPassword = hex("0202");

TEST(AuthenticationFieldsTest, EmptyRecord) {
  EXPECT_EQ(bytes_of(login_record()), kNasIdentifier + kAcctSessionId + kEmptyPassword);
}

TEST(AuthenticationFieldsTest, Texts) {
  authen_info record = login_record();
  set_text(record.chars65_a, "nemo");
  std::memcpy(record.octets100_b, "called", 6);
  std::memcpy(record.octets128_a, "calling", 7);
  std::memcpy(record.octets100_a, "tty1", 4);
  EXPECT_EQ(bytes_of(record), hex("0106 6e656d6f") + kNasIdentifier + kAcctSessionId +
                                  hex("1e08 63616c6c6564") + hex("1f09 63616c6c696e67") +
                                  hex("5706 74747931") + kEmptyPassword);
}

TEST(AuthenticationFieldsTest, TextsWithoutANulFillTheirMember) {
  authen_info record = login_record();
  std::memset(record.octets100_b, 'x', sizeof record.octets100_b);
  EXPECT_EQ(bytes_of(record),
            kNasIdentifier + kAcctSessionId + hex("1e66") + Bytes(100, 'x') + kEmptyPassword);
}

TEST(AuthenticationFieldsTest, Numbers) {
  authen_info record = login_record();
  record.num_b = 0x01020304;
  record.num_c = 15;
  record.num_d = 2;
  EXPECT_EQ(bytes_of(record), kNasIdentifier + kAcctSessionId + kEmptyPassword +
                                  hex("0506 01020304") + hex("3d06 0000000f") +
                                  hex("0606 00000002"));
}

TEST(AuthenticationFieldsTest, Items) {
  const std::string password = "secret", chap = "c", challenge = "cc", address = "\x7f\1\1\1",
                    state = "st", eap = "eap", user = "cui";
  const std::pair<aaa_item authen_info::*, std::pair<const std::string*, Bytes>> rows[] = {
      {&authen_info::user_password, {&password, hex("0208 736563726574")}},
      {&authen_info::chap_challenge, {&challenge, kEmptyPassword + hex("3c04 6363")}},
      {&authen_info::nas_ip_address, {&address, kEmptyPassword + hex("0406 7f010101")}},
      {&authen_info::state, {&state, kEmptyPassword + hex("1804 7374")}},
      {&authen_info::chargeable_user_identity, {&user, kEmptyPassword + hex("5905 637569")}},
      // These are sent without a password.
      {&authen_info::chap_password, {&chap, hex("0303 63")}},
      {&authen_info::eap_message, {&eap, hex("4f05 656170")}},
  };
  for (const auto& [member, expected] : rows) {
    authen_info record = login_record();
    record.*member = item_of(*expected.first);
    EXPECT_EQ(bytes_of(record), kNasIdentifier + kAcctSessionId + expected.second)
        << *expected.first;
  }
}

TEST(AuthenticationFieldsTest, LongItems) {
  authen_info record = login_record();
  const std::string longest(253, 'x'), longer(254, 'x');
  record.eap_message = item_of(longer);
  EXPECT_EQ(bytes_of(record), kNasIdentifier + kAcctSessionId + hex("4fff") + Bytes(253, 'x') +
                                  hex("4f03") + Bytes(1, 'x'));
  record = login_record();
  record.state = item_of(longest);
  EXPECT_EQ(bytes_of(record),
            kNasIdentifier + kAcctSessionId + kEmptyPassword + hex("18ff") + Bytes(253, 'x'));
  record.state = item_of(longer);
  EXPECT_THROW(bytes_of(record), TooLong);
  const std::string enormous(5000, 'x');
  record = login_record();
  record.eap_message = item_of(enormous);
  EXPECT_THROW(bytes_of(record), TooLong);
}

acct_info acct_record(std::uint32_t kind) {
  acct_info record{};
  record.session_id = 0xabcd;
  record.code_a = kind;
  return record;
}

TEST(AccountingFieldsTest, Start) {
  acct_info record = acct_record(1);
  const std::string class_value = "cl", identity = "cui";
  set_text(record.chars65_a, "nemo");
  std::memcpy(record.octets100_b, "called", 6);
  std::memcpy(record.octets128_a, "calling", 7);
  std::memcpy(record.octets100_a, "tty1", 4);
  record.class_ = item_of(class_value);
  record.chargeable_user_identity = item_of(identity);
  record.num_h = 3;
  // Totals and the cause are not for a start.
  record.num_b = record.num_c = record.num_d = record.num_e = record.num_f = record.num_g = 1;
  record.num_i = record.num_j = 1;
  EXPECT_EQ(bytes_of(record), hex("0106 6e656d6f") + kNasIdentifier + kAcctSessionId +
                                  hex("1e08 63616c6c6564") + hex("1f09 63616c6c696e67") +
                                  hex("5706 74747931") + hex("2806 00000001") + hex("1904 636c") +
                                  hex("5905 637569") + hex("2906 00000003"));
}

TEST(AccountingFieldsTest, TotalsOfAnInterimReport) {
  const Bytes front = kNasIdentifier + kAcctSessionId + hex("2806 00000003");
  acct_info record = acct_record(3);
  EXPECT_EQ(bytes_of(record), front + hex("2e06 00000000 2a06 00000000 2b06 00000000"
                                          "2f06 00000000 3006 00000000"));
  record.num_b = 60;
  record.num_c = 0xfffffff0;
  record.num_d = 2;
  record.num_e = 9;
  record.num_f = 4;
  record.num_g = 5;
  record.num_i = 6;
  record.num_j = 7;
  EXPECT_EQ(bytes_of(record), front + hex("2e06 0000003c 2a06 fffffff0 2b06 00000002"
                                          "2f06 00000006 3006 00000007 3406 00000004"
                                          "3506 00000005"));
}

TEST(AccountingFieldsTest, StopHasACause) {
  acct_info record = acct_record(2);
  record.num_e = 6;
  EXPECT_EQ(bytes_of(record), kNasIdentifier + kAcctSessionId +
                                  hex("2806 00000002 2e06 00000000 2a06 00000000 2b06 00000000"
                                      "2f06 00000000 3006 00000000 3106 00000006"));
}

TEST(AccountingFieldsTest, OtherKindsAreRefused) {
  EXPECT_THROW(bytes_of(acct_record(0)), BadRecord);
  EXPECT_THROW(bytes_of(acct_record(4)), BadRecord);
}

TEST(SessionTextTest, ShorterTextReplacesALongerOne) {
  char name[6];
  set_text(name, "captain");
  EXPECT_EQ(std::string(name, sizeof name), std::string("capta\0", 6));
  set_text(name, "me");
  EXPECT_EQ(std::string(name, sizeof name), std::string("me\0\0\0\0", 6));
}

TEST(SessionTextTest, EightDigits) {
  EXPECT_EQ(aaa_sim::radius::session_text(0xfedcba98), "fedcba98");
  EXPECT_EQ(aaa_sim::radius::session_text(0), "00000000");
}

}  // namespace
}  // namespace radius_test
