#pragma once

#include "core/content_view_model.h"
#include "test_support.h"
#include "ui/content_view.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QWidget>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace tidyreel::test {

/// A fresh controller and main window in German with empty settings; the window is shown, so
/// that pop-ups, sheets and key presses behave as for a user.
class WindowTest : public ::testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    /// The first visible widget called `objectName` in any top-level window; fails when there is none.
    template <typename Widget>
    Widget* find(const QString& objectName) const {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            QList<QWidget*> named = top->findChildren<QWidget*>(objectName);
            named.prepend(top);
            for (QWidget* candidate : named) {
                auto* found = dynamic_cast<Widget*>(candidate);
                if (found && candidate->objectName() == objectName &&
                    (found->isVisible() || !top->isVisible())) {
                    return found;
                }
            }
        }
        ADD_FAILURE() << "no widget " << objectName.toStdString();
        return nullptr;
    }

    /// Lets queued changes reach the widgets.
    void settle() const;
    /// Runs the event loop until `done` holds (a guard against hanging, not a timing assertion).
    bool waitFor(const std::function<bool()>& done) const;
    /// Writes a picture of `widget` to the screenshot folder of the build tree as `name`.png.
    void screenshot(QWidget* widget, const std::string& name) const;
    /// Drops `file` on `target` as a file manager would.
    void drop(QWidget* target, const std::filesystem::path& file) const;
    /// Switches the texts' language ("de" or "en") and refreshes the window.
    void switchLanguage(const std::string& language);
    /// Runs `step` once a modal window of type `Modal` (a panel or an alert) is up, while the click
    /// that opened it waits.
    template <typename Modal>
    void whenModal(std::function<void(Modal*)> step) const {
        whenModalWindow([](QWidget* modal) { return dynamic_cast<Modal*>(modal) != nullptr; },
                        [step](QWidget* modal) { step(dynamic_cast<Modal*>(modal)); });
    }

    /// The project of two roles over two media files that ffmpeg makes in `media`.
    std::filesystem::path twoRolesProject(const std::filesystem::path& media, int seconds = 60,
                                          const std::string& size = "160x90") const;

    TempFolder folder_;

private:
    void whenModalWindow(std::function<bool(QWidget*)> matches, std::function<void(QWidget*)> step) const;

protected:
    std::unique_ptr<ContentViewModel> viewModel_;
    std::unique_ptr<ui::ContentView> window_;
};

}  // namespace tidyreel::test
