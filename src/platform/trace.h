// The debug output. Nothing is written in normal operation; tests install a
// sink to capture what the library traces.
#pragma once

namespace rv::os {

using TraceSink = void (*)(const char *function, const char *message, void *user);

void trace_write(const char *function, const char *message) noexcept;
// Installs a sink (nullptr removes it) and returns the former one.
TraceSink set_trace_sink(TraceSink sink, void *user) noexcept;

}  // namespace rv::os
