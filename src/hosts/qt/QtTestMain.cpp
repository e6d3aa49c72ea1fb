// One QApplication for all Qt tests, on the offscreen platform so they run without a display.
#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace {

class QtEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        app_ = std::make_unique<QApplication>(argc_, argv_);
        QApplication::setApplicationName(QStringLiteral("Kestrova"));
    }
    void TearDown() override { app_.reset(); }

  private:
    int argc_ = 1;
    char name_[8] = "qt_test";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> app_;
};

[[maybe_unused]] ::testing::Environment* const qtEnvironment =
    ::testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace
