#pragma once

#include "base/error_codes.h"

#include <map>
#include <stdexcept>
#include <string>

namespace tidyreel {

/// A failure that ends a task: an error domain and code as the system reports them, a localized
/// description (`what()`) and optional extra entries such as a tool's standard error.
class Error : public std::runtime_error {
public:
    /// Creates an error of `domain` with `code` and the user-facing `description`.
    Error(std::string domain, int code, const std::string& description,
          std::map<std::string, std::string> userInfo = {});

    /// The error domain, e.g. "Processing" or "ffmpeg".
    const std::string& domain() const noexcept { return domain_; }
    /// The integer code within the domain.
    int code() const noexcept { return code_; }
    /// Extra entries (key "stderr" holds a tool's standard error).
    const std::map<std::string, std::string>& userInfo() const noexcept { return userInfo_; }

private:
    std::string domain_;
    int code_;
    std::map<std::string, std::string> userInfo_;
};

/// The run was stopped on request (Ctrl-C, SIGTERM, the window's Cancel button, quitting): no step may
/// take it for an ordinary failure and go on.
class RunCancelled : public Error {
public:
    /// Domain "Processing", code `ProcessingError::cancelled`, "Abgebrochen" / "Cancelled".
    RunCancelled();
};

/// Whether `error` is a stop on request (the domain and code `RunCancelled` carries), also after it was
/// copied as a plain `Error`.
bool isCancellation(const Error& error);

/// Runs `body`, turning the standard exceptions that time arithmetic throws (overflow, division by
/// zero, invalid arguments) into an `Error` of the "Time" domain, so that callers above the time
/// values see one kind of failure.
template <class Body>
decltype(auto) withTimeErrors(Body&& body) {
    try {
        return body();
    } catch (const std::overflow_error& error) {
        throw Error(TimeError::domain, TimeError::overflow, error.what());
    } catch (const std::domain_error& error) {
        throw Error(TimeError::domain, TimeError::invalidValue, error.what());
    }
}

/// The failure as an `Error`: itself when it is one, else an unexpected failure of the "Processing"
/// domain with the same description.
Error asError(const std::exception& failure);

}  // namespace tidyreel
