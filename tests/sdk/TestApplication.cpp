// One Qt application for a whole test binary (the framework's and the module's): queued calls,
// request groups and QSignalSpy::wait need the event loop of the test thread.
#include <QCoreApplication>
#include <gtest/gtest.h>
#include <memory>

namespace {
class QtApplication : public testing::Environment
{
public:
    void SetUp() override { m_app = std::make_unique<QCoreApplication>(m_argc, m_argv); }
    void TearDown() override { m_app.reset(); }

private:
    int m_argc = 1;
    char m_name[6] = "tests";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QCoreApplication> m_app;
};

testing::Environment* const g_qtApplication = testing::AddGlobalTestEnvironment(new QtApplication);
}  // namespace
