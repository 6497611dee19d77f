// revwarden-service: a small update service. It answers update requests from a catalogue file and
// serves the downloads.

#include <pthread.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "base/text.h"
#include "ports/posix/libxml_documents.h"
#include "ports/posix/system_error.h"
#include "service/catalogue.h"
#include "service/file_endpoint.h"
#include "service/log.h"
#include "service/routes.h"
#include "service/update_endpoint.h"

namespace revwarden {
namespace {

struct Options {
  std::string listen = "127.0.0.1:8484";
  std::string catalogue;
  std::string files;
};

struct Address {
  std::string host;  // without the brackets around an IPv6 address
  int port = 0;

  std::string text() const {
    const bool brackets = host.find(':') != std::string::npos;
    return (brackets ? "[" + host + "]" : host) + ":" + std::to_string(port);
  }
};

// Reads "HOST:PORT" or "[HOST]:PORT"; absent if the text has another form.
std::optional<Address> parsedAddress(std::string_view text) {
  const size_t colon = text.rfind(':');
  if (colon == std::string_view::npos || colon == 0) return std::nullopt;
  std::string_view host = text.substr(0, colon);
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  Address address{std::string(host), 0};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + colon + 1, end, address.port);
  const bool whole = error == std::errc() && stop == end;
  return whole && address.port >= 0 && address.port <= 65535 && !host.empty()
             ? std::optional(address)
             : std::nullopt;
}

// Prints the message and returns the exit status.
int failed(const std::string& why) {
  std::cerr << "revwarden-service: " << escaped(why) << std::endl;
  return 1;
}

void configure(httplib::Server& server) {
  // The library's default, SO_REUSEPORT, would let two services share one port.
  server.set_socket_options([](socket_t socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  server.new_task_queue = [] { return new httplib::ThreadPool(32); };  // mostly waiting
  server.set_read_timeout(std::chrono::seconds(60));
  server.set_write_timeout(std::chrono::seconds(60));
  server.set_logger([](const httplib::Request& request, const httplib::Response& response) {
    const size_t bytes = response.body.empty() ? response.content_length_ : response.body.size();
    logLine(request.remote_addr + " \"" + request.method + " " + request.target + "\" " +
            std::to_string(response.status) + " " + std::to_string(bytes));
  });
}

// Binds to the address; a port of 0 becomes the one that the system chose.
bool bindTo(httplib::Server& server, Address& address) {
  if (address.port != 0) return server.bind_to_port(address.host, address.port);
  address.port = server.bind_to_any_port(address.host);
  return address.port > 0;
}

// Stops the server on SIGTERM or SIGINT. Exits after one second even if a client keeps the server
// busy.
void stopAtSignal(httplib::Server& server, const sigset_t& signals) {
  std::thread([&server, signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    server.stop();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    _exit(0);
  }).detach();
}

int run(const Options& options) {
  auto address = parsedAddress(options.listen);
  if (!address) return failed(options.listen + " is not HOST:PORT");
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  std::unique_ptr<FileEndpoint> files;
  if (!options.files.empty()) {
    auto created = FileEndpoint::create(options.files);
    if (!created) return failed(created.error().message);
    files = std::move(*created);
  }
  httplib::Server server;
  configure(server);
  errno = 0;
  if (!bindTo(server, *address)) {
    const std::string what = "cannot listen on " + options.listen;
    return failed(errno != 0 ? systemError(what).message : what);
  }
  Catalogue catalogue(options.catalogue);
  catalogue.entries();  // logs a problem with the file at start
  const LibxmlDocuments documents;
  UpdateEndpoint updates(catalogue, documents, address->text());
  refuseOtherMethods(server);
  updates.addTo(server);
  if (files) files->addTo(server);
  std::cout << "listening on http://" << address->text() << std::endl;
  stopAtSignal(server, signals);
  return server.listen_after_bind() ? 0 : failed("the server stopped unexpectedly");
}

int runCommandLine(int argc, char** argv) {
  Options options;
  CLI::App app("Answers update requests from a catalogue file and serves the downloads.",
               "revwarden-service");
  app.set_help_flag("-h,--help", "print this help and exit");
  app.set_version_flag("--version", "revwarden-service " REVWARDEN_VERSION,
                       "print the version and exit");
  app.add_option("--listen", options.listen, "listen on this address; port 0 means any free port")
      ->type_name("HOST:PORT")
      ->check([](const std::string& text) {
        return parsedAddress(text) ? "" : text + " is not HOST:PORT";
      })
      ->capture_default_str();
  app.add_option("--catalogue", options.catalogue, "read the offers from this JSON file")
      ->type_name("FILE")
      ->required();
  app.add_option("--files", options.files, "serve the files in this folder at /files/")
      ->type_name("DIR");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& outcome) {
    return app.exit(outcome) == 0 ? 0 : 2;
  }
  return run(options);
}

}  // namespace
}  // namespace revwarden

int main(int argc, char** argv) {
  return revwarden::runCommandLine(argc, argv);
}
