#include "apps/vak-solve/program.h"

#include <exception>
#include <new>
#include <string>

#include "apps/vak-solve/options.h"
#include "apps/vak-solve/session.h"
#include "apps/vak-solve/text.h"
#include "vakenv/core/version.h"
#include "vaksolver/files.h"

namespace vaksolve {

namespace {

ExitCode runGuarded(std::span<const char* const> arguments, const Streams& streams) {
  const Options options = parseOptions(arguments);
  if (options.isHelp) {
    streams.out << helpText() << std::flush;
    return ExitCode::Optimal;
  }
  if (options.isVersion) {
    streams.out << VakTarnVersion::_identification << std::endl;
    return ExitCode::Optimal;
  }
  const bool hasProgress = streams.isErrTerminal && !options.isQuiet;
  Session session(options, streams.out, hasProgress ? &streams.err : nullptr);
  return session.run();
}

ExitCode fail(const Streams& streams, ExitCode code, const char* text) {
  streams.err << "vak-solve: " << printable(text) << std::endl;
  return code;
}

}  // namespace

ExitCode run(std::span<const char* const> arguments, const Streams& streams) {
  try {
    return runGuarded(arguments, streams);
  } catch (const InputError& error) {
    return fail(streams, ExitCode::BadInput, error.what());
  } catch (const VakFileError& error) {
    return fail(streams, ExitCode::BadInput, error.what());
  } catch (const OutputError& error) {
    return fail(streams, ExitCode::OutputFailed, error.what());
  } catch (const std::bad_alloc&) {
    return fail(streams, ExitCode::InternalError, "not enough memory");
  } catch (const std::exception& error) {
    return fail(streams, ExitCode::InternalError,
                (std::string("internal error: ") + error.what()).c_str());
  }
}

}  // namespace vaksolve
