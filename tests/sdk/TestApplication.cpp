// One Qt application for a whole test binary (the framework's and the module's): queued calls,
// request groups and QSignalSpy::wait need the event loop of the test thread.
#include <QCoreApplication>
#include <gtest/gtest.h>
#include <memory>

namespace {
int g_argc = 1;
char g_name[] = "tests";
char* g_argv[] = {g_name, nullptr};

struct QtApplication : testing::Environment
{
    void SetUp() override { app = std::make_unique<QCoreApplication>(g_argc, g_argv); }
    void TearDown() override { app.reset(); }
    std::unique_ptr<QCoreApplication> app;
};

testing::Environment* const g_qtApplication = testing::AddGlobalTestEnvironment(new QtApplication);
}  // namespace
