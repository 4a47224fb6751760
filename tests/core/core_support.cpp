#include "core/core_support.h"

#include "core/language.h"

#include <gtest/gtest.h>
#include <QSettings>

namespace tidyreel::test {
namespace {

// The settings of the whole test program live here; removed with the program's end.
IsolatedUserFolders& programUserFolders() {
    static IsolatedUserFolders folders;
    return folders;
}

}  // namespace

CoreTest::CoreTest() {
    programUserFolders();
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "Tidyreel", "Tidyreel").clear();
    setPreferredLanguages({"de-DE"});
}

CoreTest::~CoreTest() {
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "Tidyreel", "Tidyreel").clear();
    setPreferredLanguages({});
}

std::vector<std::string> messagesOf(const std::vector<LogEntry>& entries) {
    std::vector<std::string> messages;
    for (const LogEntry& entry : entries) {
        messages.push_back(entry.message);
    }
    return messages;
}

std::string minimalProject(const std::string& projectName) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE fcpxml>
<fcpxml version="1.11">
    <resources>
        <format id="r1" frameDuration="1/25s" width="1920" height="1080"/>
        <asset id="r2" name="A" start="0s" duration="100s" hasVideo="1"><media-rep kind="original-media" src="file:///media/A.mov"/></asset>
    </resources>
    <library>
        <event name="E">
            <project name=")" +
           projectName + R"(">
                <sequence format="r1" duration="10s">
                    <spine>
                        <asset-clip ref="r2" offset="0s" duration="10s" videoRole="Video.Video-1"/>
                    </spine>
                </sequence>
            </project>
        </event>
    </library>
</fcpxml>
)";
}

}  // namespace tidyreel::test
