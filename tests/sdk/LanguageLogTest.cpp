// Translation catalogues, the translation context of a function, and logging.
#include <QFile>

#include "FrameworkTestSupport.h"
#include "Language.h"

using FrameworkTest::CapturedLog;

namespace {
bool writeFile(const QString& name, const QByteArray& text)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

struct Traced
{
    static QString run(int* evaluated)
    {
        KELO_TRACE_SCOPE("RecordsTest.Capture");
        KELO_LOG_INFO("RecordsTest.Capture", "inside " << ++*evaluated);
        return QString::fromUtf8(Q_FUNC_INFO);
    }
    QString context() const { return KELO_TRS("Playlist %1", {TrArg("x")}).context(); }
};

}  // namespace

TEST(TranslationContext, IsTheQualifiedNameOfTheFunction)
{
    const std::vector<std::pair<const char*, const char*>> cases{
        {"bool Controller::plCreate(CMSetDataRequest, QString&, int&)", "Controller::plCreate"},
        {"virtual void Ns::Node::getRowsRequest(const CMGetRowsRequest&) const", "Ns::Node::getRowsRequest"},
        {"QList<QPair<QString, QString> > CMPath::parameters() const", "CMPath::parameters"},
        {"void Foo<T>::bar(T) [with T = std::map<int, int>]", "Foo::bar"},
        {"Controller::plCreate(CMSetDataRequest, QString&, int&)::<lambda(int)>", "Controller::plCreate"},
        {"bool Foo<T>::operator<(const Foo<T>&) const [with T = int]", "Foo::operator<"},
        {"QDebug operator<<(QDebug, const CMPath&)", "operator<<"},
        {"Foo<T>::operator bool() const [with T = int]", "Foo::operator bool"},
        {"void {anonymous}::anon(int)", "{anonymous}::anon"},
        {"void (* Foo::handler())(int)", "Foo::handler"},
        {"", ""},
    };
    for (const auto& [signature, context] : cases)
        EXPECT_EQ(trExtractContext(signature), QString(context)) << signature;
    EXPECT_TRUE(trExtractContext(nullptr).isEmpty());
    EXPECT_EQ(Traced().context(), "{anonymous}::Traced::context");
}

TEST(Translation, LooksTextsUpByContextFillsTheirArgumentsAndPassesTheRestThrough)
{
    QTemporaryDir dir;
    const QString good = dir.filePath("good.json");
    ASSERT_TRUE(writeFile(good, R"({"Ctl::a": {"Delete": "L\u00f6schen", "Empty": "", "Move %1 to %2": "Nach %2: %1"},
                                   "Ctl::b": {}})"));
    ASSERT_TRUE(Language::loadCatalogue(good));
    EXPECT_EQ(Language::ntr("Ctl::a", "Delete"), QString::fromUtf8("L\u00f6schen"));
    EXPECT_EQ(Language::ntr("Ctl::b", "Delete"), "Delete");
    EXPECT_EQ(Language::ntr("Ctl::a", "Empty"), "Empty");
    EXPECT_EQ(TrString("Ctl::a", "Move %1 to %2", {TrArg("A"), TrArg("B")}).toString(), "Nach B: A");
    // An argument holding a marker is inserted as it is, not filled again.
    EXPECT_EQ(TrString("Other", "Add %1 to %2", {TrArg("100%2"), TrArg("Mix")}).toString(), "Add 100%2 to Mix");
    EXPECT_EQ(TrString("Other", "%1 and %3 at 50%", {TrArg("x")}).toString(), "x and %3 at 50%");
    EXPECT_EQ(TrString("Other", "%11", {TrArg("a")}).toString(), "%11");
    // A plain text (a playlist's name) is never translated.
    EXPECT_EQ(TrString(QStringLiteral("%1")).toString(), "%1");

    for (const QByteArray& bad : {QByteArray("[1]"), QByteArray(R"({"Ctl::a": "x"})"),
                                  QByteArray(R"({"Ctl::a": {"Delete": 1}})"), QByteArray("{")}) {
        ASSERT_TRUE(writeFile(dir.filePath("bad.json"), bad));
        EXPECT_FALSE(Language::loadCatalogue(dir.filePath("bad.json"))) << bad.constData();
    }
    EXPECT_FALSE(Language::loadCatalogue(dir.filePath("missing.json")));
    EXPECT_EQ(Language::ntr("Ctl::a", "Delete"), QString::fromUtf8("L\u00f6schen"));
    Language::clearCatalogue();
    EXPECT_EQ(Language::ntr("Ctl::a", "Delete"), "Delete");
}

TEST(Logging, TheTracerWritesEnterWithTheSignatureAndLeaveAndRecordsBelowTheLevelAreNeitherBuiltNorWritten)
{
    int evaluated = 0;
    QString signature;
    {
        CapturedLog log("RecordsTest.Capture");
        signature = Traced::run(&evaluated);
        ASSERT_EQ(log.lines().size(), 3u);
        EXPECT_EQ(log.lines()[0].message, "Enter " + signature);
        EXPECT_EQ(log.lines()[1].message, "inside 1");
        EXPECT_EQ(log.lines()[2].message, "Leave");
        for (const CapturedLog::Line& line : log.lines()) {
            EXPECT_EQ(line.function, signature);
            EXPECT_TRUE(line.file.endsWith("LanguageLogTest.cpp")) << qPrintable(line.file);
            EXPECT_GT(line.line, 0);
        }
    }
    CapturedLog log("RecordsTest.Capture", log4cplus::WARN_LOG_LEVEL);
    Traced::run(&evaluated);
    EXPECT_EQ(evaluated, 1);
    EXPECT_TRUE(log.lines().empty());
    KELO_LOG_ERROR("RecordsTest.Capture", "failed " << QStringLiteral("x"));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].message, "failed x");
}

// Without a properties file the console takes warnings only; reading one shows where the host starts.
TEST(LoggingConfiguration, WithoutAPropertiesFileFallsBackToTheConsoleAtWarn)
{
    QTemporaryDir dir;
    KeloLog::configure(dir.filePath("missing.properties"));
    EXPECT_FALSE(KeloLog::logger("RecordsTest.Other").isEnabledFor(log4cplus::INFO_LOG_LEVEL));
    EXPECT_TRUE(KeloLog::logger("RecordsTest.Other").isEnabledFor(log4cplus::WARN_LOG_LEVEL));
}
