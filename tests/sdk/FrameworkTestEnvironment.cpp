// One Qt application for the whole test binary: queued calls and signals need its event loop.
#include <QCoreApplication>
#include <gtest/gtest.h>

namespace {
class QtApplication : public testing::Environment
{
public:
    void SetUp() override
    {
        if (!QCoreApplication::instance())
            m_app = new QCoreApplication(m_argc, m_argv);
    }
    void TearDown() override
    {
        delete m_app;
        m_app = nullptr;
    }

private:
    int m_argc = 1;
    char m_name[10] = "sdk_tests";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication* m_app = nullptr;
};

testing::Environment* const g_qtApplication = testing::AddGlobalTestEnvironment(new QtApplication);
}  // namespace
