#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <thread>

#include "server/server.h"

int main(int argc, char** argv) {
  vellmar::server::Options options;
  std::string error;
  if (!vellmar::server::parseOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "vellmar-server: %s\n", error.c_str());
    std::fprintf(stderr,
                 "usage: vellmar-server [--host 127.0.0.1] [--port 8080] [--data DIR] [--web DIR]\n"
                 "                      [--demo DIR] [--session-minutes 20] [--max-upload 2097152]\n"
                 "                      [--max-document 67108864] [--header-seconds 5]\n"
                 "                      [--allow-origin ORIGIN]... [--keep-versions 100]\n"
                 "                      [--max-sessions 10000]\n");
    return 2;
  }

  // Signals are taken by one thread with sigwait, so stopping runs outside a signal handler.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  vellmar::server::ReferenceServer server(options);
  if (error = server.start(); !error.empty()) {
    std::fprintf(stderr, "vellmar-server: %s\n", error.c_str());
    return 1;
  }

  std::atomic<bool> runReturned{false};
  std::thread waiter([&] {
    int sig = 0;
    sigwait(&signals, &sig);
    // A stop asked for before run() has begun to accept would be lost, and the server would run
    // on: a signal can come the moment the address is printed.
    while (!server.running() && !runReturned) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    server.stop();
  });

  std::printf("vellmar-server listening on http://%s:%d/\n", options.host.c_str(),
              server.boundPort());
  std::fflush(stdout);
  server.run();
  runReturned = true;
  // run() also returns when listening fails; wake the waiter so it can be joined.
  pthread_kill(waiter.native_handle(), SIGTERM);
  waiter.join();
  std::printf("vellmar-server stopped\n");
  return 0;
}
