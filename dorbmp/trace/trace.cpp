#include "dorbmp/trace/trace.h"

#include <cstdio>

#include "dorbmp/platform/debugger.h"
#include "dorbmp/platform/stack.h"
#include "dorbmp/trace/switch_stack.h"

namespace dorbmp {
namespace {

int32_t trace_mode = 1;

// Halves doubled percent signs in place, as printing the text as a format does.
void interpret_again(char* text) {
  char* to = text;
  for (const char* from = text; *from != 0; ++from) {
    *to++ = *from;
    if (from[0] == '%' && from[1] == '%') ++from;
  }
  *to = 0;
}

struct Message {
  const char* format;
  std::va_list arguments;
};

void trace_message(void* message) {
  auto& [format, arguments] = *static_cast<Message*>(message);
  trace_v(format, arguments);
}

}  // namespace

void set_trace_mode(int32_t mode) {
  trace_mode = mode;
}

void trace_v(const char* format, std::va_list arguments) {
  char text[kTraceBytes];
  if (std::vsnprintf(text, sizeof(text), format, arguments) < 0) return;
  if (trace_mode != 0) {
    platform::output_to_debugger(text);
  } else {
    interpret_again(text);
    std::fputs(text, stdout);
  }
}

void trace(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  trace_v(format, arguments);
  va_end(arguments);
}

void trace_on_stack(void* stack_top, const char* format, ...) {
  Message message;
  message.format = format;
  va_start(message.arguments, format);
  {
    const platform::OnForeignStack on_foreign_stack(stack_top);
    switch_stack(stack_top, trace_message, &message);
  }
  va_end(message.arguments);
}

}  // namespace dorbmp
