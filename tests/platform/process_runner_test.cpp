#include "platform/process_runner.h"

#include "base/error.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <thread>

namespace tidyreel {
namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::HasSubstr;

// Whether the process is gone (a zombie that nobody reaped yet counts as gone).
bool isGone(const std::string& pidText) {
    const pid_t pid = std::stoi(pidText);
    for (int attempt = 0; attempt < 50; ++attempt) {
        std::ifstream stat("/proc/" + pidText + "/stat");
        std::string ignored;
        char state = '?';
        if (kill(pid, 0) != 0 || !(stat >> ignored >> ignored >> state) || state == 'Z') {
            return true;
        }
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

class ProcessRunner : public ::testing::Test {
protected:
    ProcessRequest script(const std::string& body) {
        ProcessRequest request;
        request.executable = test::writeScript(folder / ("tool" + std::to_string(++count)), body);
        return request;
    }

    // The text a tool wrote into the file `name`, once it is there.
    std::string waitForFile(const std::string& name) const {
        for (int attempt = 0; attempt < 500 && test::readTextFile(folder / name).empty(); ++attempt) {
            std::this_thread::sleep_for(10ms);
        }
        return test::readTextFile(folder / name);
    }

    test::TempFolder folder;
    int count = 0;
};

TEST_F(ProcessRunner, ArgumentsTravelByteForByte) {
    ProcessRequest request = script("printf '%s|' \"$@\"");
    request.arguments = {"-x.mov",
                         "a\xff"
                         "b.mov",
                         "with space", ""};
    request.captureStandardOutput = true;
    EXPECT_EQ(runProcess(request).standardOutput,
              "-x.mov|a\xff"
              "b.mov|with space||");
}

TEST_F(ProcessRunner, AStopRequestEndsTheToolAndEverythingItStarted) {
    // The tool ignores the polite signals and leaves a child of its own running.
    ProcessRequest request =
        script("trap '' INT TERM\nsleep 60 &\necho $! > '" + (folder / "child").string() + "'\necho $$ > '" +
               (folder / "tool").string() + "'\nwait");
    std::stop_source stop;
    request.stopToken = stop.get_token();
    request.whileRunning = [&] {
        if (!test::readTextFile(folder / "child").empty()) {
            stop.request_stop();
        }
    };
    EXPECT_THROW(runProcess(request), RunCancelled);
    EXPECT_TRUE(isGone(waitForFile("tool")));
    EXPECT_TRUE(isGone(waitForFile("child")));
}

TEST_F(ProcessRunner, LimitsStopAToolThatHangsOrFallsSilent) {
    ProcessRequest hanging = script("echo busy >&2\nexec sleep 60");
    hanging.timeLimit = 300ms;
    const ProcessResult timedOut = runProcess(hanging);
    EXPECT_EQ(timedOut.ending, ProcessResult::Ending::timeLimit);
    EXPECT_NE(timedOut.exitStatus, 0);
    EXPECT_EQ(timedOut.standardErrorTail, "busy\n");

    ProcessRequest silent = script("echo 1 >&2; sleep 0.1; echo 2 >&2; exec sleep 60");
    silent.silenceLimit = 500ms;
    EXPECT_EQ(runProcess(silent).ending, ProcessResult::Ending::silenceLimit);
}

TEST_F(ProcessRunner, KeepsOnlyABoundedTailOfStandardError) {
    ProcessRequest chatty = script(
        "i=0; while [ $i -lt 20000 ]; do echo \"line $i of a very chatty tool\" >&2; i=$((i+1)); done");
    std::size_t heard = 0;
    chatty.standardErrorChunk = [&](std::string_view chunk) { heard += chunk.size(); };
    const ProcessResult result = runProcess(chatty);
    EXPECT_GT(heard, 500000u);
    EXPECT_EQ(result.standardErrorTail.size(), kStandardErrorTailBytes);
    EXPECT_THAT(result.standardErrorTail, EndsWith("line 19999 of a very chatty tool\n"));
}

TEST_F(ProcessRunner, AProgramThatCannotStartIsAnError) {
    ProcessRequest missing;
    missing.executable = folder / "no such tool";
    try {
        runProcess(missing);
        FAIL() << "started a missing program";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "Process");
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_THAT(error.what(), HasSubstr("no such tool"));
    }
}

}  // namespace
}  // namespace tidyreel
