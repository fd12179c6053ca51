#include "backend/radius_file.h"

#include <algorithm>

#include "backend/toml_file.h"

namespace aaa_sim {
namespace {

using radius::DynamicAuthorizationSettings;
using radius::ServerAddress;
using toml_file::fail;
using toml_file::fail_unknown;
using toml_file::read_number;
using toml_file::read_text;

constexpr std::size_t kMaxName = 253;
constexpr std::size_t kMaxSecret = 1024;

const toml::table& table_of(const toml::node& node, const std::string& what) {
  const toml::table* const table = node.as_table();
  if (table == nullptr) fail(node, "not a " + what + " table");
  return *table;
}

std::string read_filled_text(const toml::key& key, const toml::node& value, std::size_t max_size) {
  std::string text = read_text(key, value, max_size);
  if (text.empty()) fail(value, std::string(key.str()) + " is empty");
  return text;
}

std::uint16_t read_port(const toml::key& key, const toml::node& value) {
  return static_cast<std::uint16_t>(read_number(key, value, 1, 65535));
}

void require(const toml::table& table, const char* key, const std::string& what) {
  if (!table.contains(key)) fail(table, what + " without " + key);
}

ServerAddress read_server(const toml::node& node) {
  ServerAddress server;
  const toml::table& table = table_of(node, "[[server]]");
  for (const auto& [key, value] : table) {
    if (key == "address") {
      server.host = read_filled_text(key, value, kMaxName);
    } else if (key == "authentication_port") {
      server.authentication_port = read_port(key, value);
    } else if (key == "accounting_port") {
      server.accounting_port = read_port(key, value);
    } else if (key == "secret") {
      server.secret = read_filled_text(key, value, kMaxSecret);
    } else {
      fail_unknown(key, value);
    }
  }
  require(table, "address", "server");
  require(table, "secret", "server");
  return server;
}

DynamicAuthorizationSettings read_dynamic_authorization(const toml::node& node) {
  DynamicAuthorizationSettings settings;
  const toml::table& table = table_of(node, "[dynamic_authorization]");
  for (const auto& [key, value] : table) {
    if (key == "address") {
      settings.address = read_filled_text(key, value, kMaxName);
    } else if (key == "port") {
      settings.port = read_port(key, value);
    } else if (key == "secret") {
      settings.secret = read_filled_text(key, value, kMaxSecret);
    } else {
      fail_unknown(key, value);
    }
  }
  require(table, "port", "dynamic_authorization");
  require(table, "secret", "dynamic_authorization");
  return settings;
}

void read_requests(radius::Settings& settings, const toml::node& node) {
  const toml::array* const list = node.as_array();
  if (list == nullptr) fail(node, "requests is not an array");
  settings.authentication = settings.accounting = false;
  for (const toml::node& entry : *list) {
    const auto name = entry.value_exact<std::string>();
    if (name == "authentication") {
      settings.authentication = true;
    } else if (name == "accounting") {
      settings.accounting = true;
    } else {
      fail(entry, "requests are authentication and accounting");
    }
  }
}

void read_servers(radius::Settings& settings, const toml::node& node) {
  const toml::array* const list = node.as_array();
  if (list == nullptr) fail(node, "servers are [[server]] tables");
  std::ranges::transform(*list, std::back_inserter(settings.servers), read_server);
}

void read_key(radius::Settings& settings, const toml::key& key, const toml::node& value) {
  if (key == "nas_identifier") {
    settings.nas_identifier = read_filled_text(key, value, kMaxName);
  } else if (key == "requests") {
    read_requests(settings, value);
  } else if (key == "timeout") {
    settings.timeout = std::chrono::milliseconds(read_number(key, value, 1, 60000));
  } else if (key == "tries") {
    settings.tries = static_cast<unsigned>(read_number(key, value, 1, 10));
  } else if (key == "pause") {
    settings.pause = std::chrono::seconds(read_number(key, value, 0, 3600));
  } else if (key == "allow_unsigned_replies") {
    settings.allow_unsigned_replies = toml_file::read_flag(key, value);
  } else if (key == "server") {
    read_servers(settings, value);
  } else if (key == "dynamic_authorization") {
    settings.dynamic_authorization = read_dynamic_authorization(value);
  } else {
    fail_unknown(key, value);
  }
}

}  // namespace

radius::Settings load_radius(const std::string& path) {
  radius::Settings settings;
  toml_file::read_file(path, [&](const toml::table& file) {
    for (const auto& [key, value] : file)
      read_key(settings, key, value);
    if (settings.servers.empty()) fail(file, "no [[server]]");
  });
  return settings;
}

}  // namespace aaa_sim
