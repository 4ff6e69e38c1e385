#pragma once

#include <QApplication>

#include <gtest/gtest.h>

#include <memory>

namespace tarlox::test {

// The one QApplication of a widget test program: made before the first test
// and gone after the last, while main is still running.
class WidgetApplication : public ::testing::Environment {
public:
    void SetUp() override
    {
        if (!QApplication::instance())
            app_ = std::make_unique<QApplication>(argc_, argv_);
    }
    void TearDown() override { app_.reset(); }

private:
    int argc_ = 1;
    char name_[12] = "tarlox-test";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> app_;
};

inline ::testing::Environment* const widgetApplication = ::testing::AddGlobalTestEnvironment(new WidgetApplication);

}  // namespace tarlox::test
