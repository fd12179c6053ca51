// Captures read by stock programs.
#include <unistd.h>

#include <cstdio>

#include "dissect/dissect_fixture.h"

namespace dissect_test {
namespace stock_tools {

class StockTools : public SimProgramTest {
 protected:
  void SetUp() override {
    for (const char* program : {"/usr/bin/capinfos", "/usr/bin/tshark"})
      if (::access(program, X_OK) != 0) {
        std::printf("skipped: captures read by stock programs: no %s\n", program);
        GTEST_SKIP();
      }
    start_sim({"--capture", capture_, "--control"});
    RawClient client(socket_below(daemon_directory_));
    client.request.send(test::message_bytes(3, std::string(8, '\0')));
    EXPECT_EQ(client.request.receive(24).size(), 24u);
    sim_->type("raw event 0102030405");
    EXPECT_EQ(client.event.receive(5).size(), 5u);
    end_sim();
  }

  static std::string output_of(const char* program, std::vector<std::string> arguments) {
    BoundProgram run(program, std::move(arguments));
    run.close_input();
    const std::string output = run.remaining_output();
    EXPECT_EQ(run.exit_status(), 0) << run.remaining_errors();
    return output;
  }
};

TEST_F(StockTools, CapinfosSeesTheInterfaces) {
  const std::string infos = output_of("/usr/bin/capinfos", {capture_});
  const std::string client = "netd/" + std::to_string(::getpid());
  for (const char* line :
       {"File type:           Wireshark/... - pcapng", "File encapsulation:  USER 0",
        "File timestamp precision:  nanoseconds (9)", "Number of packets:   7",
        "Capture application: aaad-sim " AAAD_SIM_VERSION, "Number of interfaces in file: 2",
        "Name = request", "Name = event", "Number of packets = 4", "Number of packets = 3"})
    EXPECT_THAT(infos, HasSubstr(line));
  EXPECT_THAT(infos, HasSubstr("Description = " + client));
}

TEST_F(StockTools, TsharkSeesThePackets) {
  const std::string packets =
      output_of("/usr/bin/tshark",
                {"-r", capture_, "-T", "fields", "-e", "frame.interface_name", "-e",
                 "frame.packet_flags_direction", "-e", "frame.len", "-e", "frame.comment"});
  EXPECT_EQ(packets,
            "request\t0x00000001\t22\t\n"
            "request\t0x00000002\t20\t\n"
            "event\t0x00000001\t22\t\n"
            "event\t0x00000002\t56\t\n"
            "request\t0x00000001\t24\t\n"
            "request\t0x00000002\t24\t\n"
            "event\t0x00000002\t5\traw bytes\n");
}

}  // namespace stock_tools
}  // namespace dissect_test
