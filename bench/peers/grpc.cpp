// A call with 1,500 bytes and its answer with as many, over gRPC through a Unix socket. The caller
// waits for the answer itself. --bytes: of both.
#include <grpcpp/grpcpp.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "authentication.grpc.pb.h"
#include "support/contender.h"
#include "support/records.h"
#include "support/server_process.h"

namespace {

using bench::proto::Authentication;
using bench::proto::Body;

class Answers : public Authentication::Service {
 public:
  explicit Answers(std::string body) : body_(std::move(body)) {}

  grpc::Status Authenticate(grpc::ServerContext*, const Body*, Body* answer) override {
    answer->set_bytes(body_);
    return grpc::Status::OK;
  }

 private:
  std::string body_;
};

void serve(const std::string& address, const std::string& body) {
  Answers answers(body);
  grpc::ServerBuilder builder;
  builder.AddListeningPort(address, grpc::InsecureServerCredentials());
  builder.RegisterService(&answers);
  builder.BuildAndStart()->Wait();
}

class Grpc : public bench::Contender {
 public:
  explicit Grpc(const bench::Options& options) {
    const std::string body(options.number("bytes", bench::usual_body), 'd');
    const std::string address = "unix-abstract:aaa-bench-grpc-" + std::to_string(getpid());
    bench::start_server([&] { serve(address, body); });
    request_.set_bytes(body);
    stub_ =
        Authentication::NewStub(grpc::CreateChannel(address, grpc::InsecureChannelCredentials()));
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      call();
  }

 private:
  void call() {
    grpc::ClientContext context;
    context.set_wait_for_ready(true);
    Body answer;
    if (!stub_->Authenticate(&context, request_, &answer).ok()) {
      throw std::runtime_error("gRPC: no answer");
    }
  }

  Body request_;
  std::unique_ptr<Authentication::Stub> stub_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::contend(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Grpc>(options); });
}
