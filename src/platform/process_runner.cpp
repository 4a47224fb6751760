#include "platform/process_runner.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"

#include <QProcess>
#include <QStringList>

namespace tidyreel {
namespace {

constexpr int kPollMilliseconds = 200;

void forwardStandardError(QProcess& process, const ProcessRequest& request) {
    const QByteArray chunk = process.readAllStandardError();
    if (!chunk.isEmpty() && request.standardErrorChunk) {
        request.standardErrorChunk(
            std::string_view(chunk.constData(), static_cast<std::size_t>(chunk.size())));
    }
}

}  // namespace

ProcessResult runProcess(const ProcessRequest& request) {
    QProcess process;
    QStringList arguments;
    for (const std::string& argument : request.arguments) {
        arguments << QString::fromStdString(argument);
    }
    process.setProgram(QString::fromStdString(request.executable.string()));
    process.setArguments(arguments);
    if (request.workingDirectory) {
        process.setWorkingDirectory(QString::fromStdString(request.workingDirectory->string()));
    }
    if (!request.captureStandardOutput) {
        process.setStandardOutputFile(QProcess::nullDevice());
    }
    process.start();
    if (!process.waitForStarted(-1)) {
        throw Error(ProcessError::domain, static_cast<int>(process.error()),
                    localized("Programm konnte nicht gestartet werden: ", "Could not start program: ") +
                        request.executable.string() + " (" + process.errorString().toStdString() + ")");
    }
    // Tools get an empty standard input: ffmpeg would otherwise wait for keyboard commands on it.
    process.closeWriteChannel();
    while (!process.waitForFinished(kPollMilliseconds)) {
        if (process.state() == QProcess::NotRunning) {
            break;
        }
        forwardStandardError(process, request);
        if (request.whileRunning) {
            request.whileRunning();
        }
    }
    forwardStandardError(process, request);
    ProcessResult result;
    result.exitStatus = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : 255;
    if (request.captureStandardOutput) {
        result.standardOutput = process.readAllStandardOutput().toStdString();
    }
    return result;
}

}  // namespace tidyreel
