// dorfx: puts a transition between clips.
#include <csignal>
#include <exception>
#include <new>

#include "dorfx/av.h"
#include "dorfx/errors.h"
#include "dorfx/interrupt.h"
#include "dorfx/job.h"
#include "dorfx/log.h"

namespace {

// The first signal ends the work in good order; the second, as the system does it.
void stop(int signal) {
  dorfx::interrupted = true;
  std::signal(signal, SIG_DFL);
}

void catch_signals() {
  std::signal(SIGINT, stop);
  std::signal(SIGTERM, stop);
  // A closed pipe and a limit on the size of files are errors of writing.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace dorfx;
  catch_signals();
  capture_av_messages();
  try {
    const std::optional<Options> options = parse_options(argc, argv);
    if (!options) return kDone;
    set_log_level(options->log_level);
    run(*options);
    return kDone;
  } catch (const UsageError& error) {
    log_error(error.what());
    return kBadUsage;
  } catch (const Interrupted&) {
    log_info("interrupted");
    return kInterrupted;
  } catch (const std::bad_alloc&) {
    log_error("out of memory");
  } catch (const std::exception& error) {
    log_error(error.what());
  }
  return kCouldNot;
}
