// Configurations of wpa_supplicant and eapol_test for one EAP method.
#pragma once

#include <fstream>
#include <string>

namespace real_test {

struct Credentials {
  std::string method; /* MD5, TTLS or PEAP */
  std::string user = "alice";
  std::string password = "secret";
};

// Writes the file and returns its name. TTLS has PAP inside, PEAP has MSCHAPv2.
inline std::string supplicant_file(const std::string& directory, const std::string& certificate,
                                   const Credentials& credentials) {
  const std::string path = directory + "/supplicant.conf";
  std::ofstream file(path);
  file << "ap_scan=0\n"
          "network={\n"
          "  key_mgmt=IEEE8021X\n"
          "  eapol_flags=0\n"
       << "  eap=" << credentials.method << "\n"
       << "  identity=\"" << credentials.user << "\"\n"
       << "  password=\"" << credentials.password << "\"\n";
  if (credentials.method != "MD5")
    file << "  ca_cert=\"" << certificate << "\"\n"
         << "  phase2=\"auth=" << (credentials.method == "TTLS" ? "PAP" : "MSCHAPV2") << "\"\n";
  file << "}\n";
  return path;
}

}  // namespace real_test
