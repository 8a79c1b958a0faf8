#include "platform/trace.h"

#include <mutex>

namespace rv::os {

namespace {
std::mutex &sink_mutex() {
  static std::mutex m;
  return m;
}
TraceSink g_sink = nullptr;
void *g_user = nullptr;
}  // namespace

void trace_write(const char *function, const char *message) noexcept {
  TraceSink sink;
  void *user;
  {
    std::lock_guard<std::mutex> lock(sink_mutex());
    sink = g_sink;
    user = g_user;
  }
  if (sink) sink(function ? function : "", message ? message : "", user);
}

TraceSink set_trace_sink(TraceSink sink, void *user) noexcept {
  std::lock_guard<std::mutex> lock(sink_mutex());
  TraceSink old = g_sink;
  g_sink = sink;
  g_user = user;
  return old;
}

}  // namespace rv::os
