#include "dorbmp/trace/trace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

namespace dorbmp::test {
namespace {

std::string on_stdout(const std::function<void()>& action) {
  set_trace_mode(0);
  testing::internal::CaptureStdout();
  action();
  std::fflush(stdout);
  set_trace_mode(1);
  return testing::internal::GetCapturedStdout();
}

#ifdef _WIN32

// The debugger hears a message as an exception with the text's length and address.
std::string heard;
LONG CALLBACK listen(EXCEPTION_POINTERS* info) {
  constexpr DWORD kMessage = 0x40010006;
  if (info->ExceptionRecord->ExceptionCode != kMessage) return EXCEPTION_CONTINUE_SEARCH;
  heard += reinterpret_cast<const char*>(info->ExceptionRecord->ExceptionInformation[1]);
  return EXCEPTION_CONTINUE_EXECUTION;
}

std::string on_debugger(const std::function<void()>& action) {
  heard.clear();
  void* handler = AddVectoredExceptionHandler(1, listen);
  action();
  RemoveVectoredExceptionHandler(handler);
  return heard;
}

#else

std::string on_debugger(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

#endif

TEST(Trace, GoesToTheDebuggerUntilToldOtherwise) {
  const auto message = [] { trace("line %d of %s\n", 3, "five"); };
  EXPECT_EQ(on_debugger(message), "line 3 of five\n");
  EXPECT_EQ(on_stdout(message), "line 3 of five\n");
  EXPECT_EQ(on_debugger(message), "line 3 of five\n");
  EXPECT_EQ(on_debugger([] { trace("100%% %s", "%%"); }), "100% %%");
}

TEST(Trace, StandardOutputReadsPercentSignsTwice) {
  const struct {
    const char* text;
    const char* printed;
  } kCases[] = {{"50%%", "50%"}, {"%%%%", "%%"}, {"%%%", "%%"},        {"%", "%"},
                {"%%n", "%n"},   {"%n", "%n"},   {"%s%s%s", "%s%s%s"}, {"%999999d", "%999999d"}};
  for (const auto& c : kCases) {
    EXPECT_EQ(on_stdout([&] { trace("%s", c.text); }), c.printed);
  }
  EXPECT_EQ(on_stdout([] { trace("%d%%%% of 3", 7); }), "7% of 3");
}

TEST(Trace, LongTextIsCut) {
  const std::string text(5000, 'x');
  EXPECT_EQ(on_stdout([&] { trace("%s", text.c_str()); }), text.substr(0, 259));
  EXPECT_EQ(on_debugger([&] { trace("%s", text.c_str()); }), text.substr(0, 259));
}

TEST(Trace, RunsOnTheStackItIsGiven) {
  constexpr size_t kSize = 256 * 1024, kGuard = 4096;
  std::vector<unsigned char> stack(kSize + kGuard);
  for (const size_t misaligned : {0u, 1u, 4u, 8u, 15u}) {
    std::memset(stack.data(), 0xA5, stack.size());
    unsigned char* top = stack.data() + kSize - misaligned;
    // A floating-point argument: formatting uses instructions that fault on a misaligned stack.
    const auto message = [top] { trace_on_stack(top, "%d %s %.3f %d\n", 1, "two", 3.25, -4); };
    EXPECT_EQ(on_stdout(message), "1 two 3.250 -4\n");
    EXPECT_EQ(on_debugger(message), "1 two 3.250 -4\n");
    const auto touched = [&](size_t first, size_t end) {
      return std::count(&stack[first], &stack[end], 0xA5) != static_cast<ptrdiff_t>(end - first);
    };
    EXPECT_TRUE(touched(kSize - misaligned - 1024, kSize - misaligned));
    EXPECT_FALSE(touched(kSize - misaligned, stack.size()));
    EXPECT_FALSE(touched(0, kSize / 4));
  }
}

TEST(Trace, ScreenLinesStartOverAtTheBottom) {
  ScreenLines lines;
  EXPECT_FALSE(lines.is_measured());
  lines.measure(768);
  std::vector<int32_t> written;
  for (int i = 0; i < 40; ++i) {
    written.push_back(lines.y());
    lines.advance();
    lines.wrap();
  }
  EXPECT_EQ(written[1], 20);
  EXPECT_EQ(written[37], 740);
  EXPECT_EQ(written[38], 0);
}

#ifdef _WIN32

TEST(Trace, ScreenTraceTakesLongTextAndNoDisplay) {
  const std::string text(5000, 'x');
  screen_trace("%s %d", "short", 1);
  screen_trace("%s", text.c_str());
  // Whoever looks at the screen once this program has ended sees the lines: an answer comes after them.
  const HDC screen = GetDC(nullptr);
  GetPixel(screen, 0, 0);
  ReleaseDC(nullptr, screen);
}

#endif

}  // namespace
}  // namespace dorbmp::test
