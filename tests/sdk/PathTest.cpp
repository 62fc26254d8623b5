#include <QSet>
#include <gtest/gtest.h>

#include "CMPath.h"

using Parameters = QList<QPair<QString, QString>>;

TEST(PathParsing, SplitsPrefixSubpathAndParametersInTheirOrderWhereverColonsAre)
{
    const CMPath path("playlists:pl/contextmenu?plid=5&action=play");
    EXPECT_EQ(path.prefix(), "playlists");
    EXPECT_EQ(path.subPath(), "pl/contextmenu");
    EXPECT_EQ(path.parameters(), (Parameters{{"plid", "5"}, {"action", "play"}}));
    EXPECT_EQ(path.parameter("missing", "none"), "none");
    EXPECT_EQ(path.base().toEncoded(), "playlists:pl/contextmenu");

    const CMPath bare("media");
    EXPECT_EQ(bare.prefix(), "media");
    EXPECT_EQ(bare, CMPath::fromPrefix("media"));
    EXPECT_EQ(bare.toEncoded(), "media:");
    const CMPath url("media:track?url=http://host:80/a&x");
    EXPECT_EQ(url.subPath(), "track");
    EXPECT_EQ(url.parameter("url"), "http://host:80/a");
    EXPECT_TRUE(url.hasParameter("x"));
    EXPECT_FALSE(url.hasParameter("missing"));
    EXPECT_TRUE(CMPath("").isEmpty());
}

TEST(PathEncoding, AwkwardKeysAndValuesSurviveARoundTrip)
{
    const QStringList values{"a&b=c", "50% off", "x+y", "#tag", "Mot\u00f6rhead \u2603", "", " ?:/", "%41"};
    CMPath path("playlists:pl/getitems");
    for (int i = 0; i < values.size(); ++i)
        path.addParameter(QStringLiteral("k%1 &=").arg(i), values.at(i));

    const QString encoded = path.toEncoded();
    EXPECT_EQ(encoded.count('&'), values.size() - 1) << qPrintable(encoded);
    EXPECT_EQ(encoded.count('='), values.size()) << qPrintable(encoded);
    EXPECT_FALSE(encoded.contains(' ') || encoded.contains('#') || encoded.contains('+'));
    for (const QChar c : encoded)
        EXPECT_LT(c.unicode(), 0x80) << qPrintable(encoded);

    const CMPath parsed(encoded);
    EXPECT_EQ(parsed.parameters(), path.parameters());
    EXPECT_EQ(parsed.toEncoded(), encoded);
}

TEST(PathEncoding, ParsingDecodesEscapesAndKeepsAPlainPlus)
{
    const CMPath path("p:s?q=a+b&r=%2B%20%C3%A9&empty=");
    EXPECT_EQ(path.parameter("q"), "a+b");
    EXPECT_EQ(path.parameter("r"), "+ \u00e9");
    EXPECT_TRUE(path.hasParameter("empty"));
    EXPECT_EQ(CMPath("p:s").addParameter("z", "1").addParameter("a", "2").toEncoded(), "p:s?z=1&a=2");
}

TEST(PathEquality, IgnoresParameterOrderButNotValuesOrCounts)
{
    const CMPath a("playlists:pl/contextmenu?plid=5&action=play");
    const CMPath b("playlists:pl/contextmenu?action=play&plid=5");
    EXPECT_EQ(a, b);
    EXPECT_EQ(qHash(a), qHash(b));
    EXPECT_EQ(QSet<CMPath>({a, b}).size(), 1);

    EXPECT_NE(a, CMPath("playlists:pl/contextmenu?plid=6&action=play"));
    EXPECT_NE(a, CMPath("playlists:pl/contextmenu?plid=5"));
    EXPECT_NE(CMPath("p:s?x=1&x=1&y=2"), CMPath("p:s?x=1&y=2&y=2"));
    EXPECT_NE(CMPath("media:pl/contextmenu"), CMPath("playlists:pl/contextmenu"));
    EXPECT_NE(CMPath("playlists:pl/play"), CMPath("playlists:pl/play/"));
}

TEST(PathJoining, ReplacesAParameterAndInsertsASlashOnlyWhereOneIsMissing)
{
    const CMPath path("p:s?plid=5&action=play");
    EXPECT_EQ(path.withParameter("plid", "6").withParameter("extra", "1").parameters(),
              (Parameters{{"plid", "6"}, {"action", "play"}, {"extra", "1"}}));
    EXPECT_EQ(path.parameter("plid"), "5");
    EXPECT_EQ((CMPath("playlists:item/") + 12).toEncoded(), "playlists:item/12");
    EXPECT_EQ((CMPath("playlists:pl/getitems") + 5).toEncoded(), "playlists:pl/getitems/5");
    EXPECT_EQ((CMPath::fromPrefix("media") + "track").toEncoded(), "media:track");
    EXPECT_EQ((CMPath("p:a?x=1") + "b").toEncoded(), "p:a/b?x=1");
    EXPECT_EQ(CMPath("playlists:pl/getitems/5").splitBase(), (QStringList{"pl", "getitems", "5"}));
    EXPECT_EQ(CMPath("playlists://pl//5/?x=a/b").splitBase(), (QStringList{"pl", "5"}));
    EXPECT_TRUE(CMPath("playlists:").splitBase().isEmpty());
}

TEST(PathPrefixes, StartsWithComparesTheBasesAsText)
{
    const CMPath items("playlists:pl/getitems/5?x=1");
    EXPECT_TRUE(items.startsWith(CMPath("playlists:pl/getitems?y=2")));
    EXPECT_TRUE(items.startsWith(CMPath("playlists:")));
    EXPECT_FALSE(items.startsWith(CMPath("media:pl")));
    EXPECT_FALSE(CMPath("playlists:pl").startsWith(items));
}

TEST(PathVariants, OnlyTextsAndPathsConvert)
{
    EXPECT_EQ(CMPath::fromQVariant(QStringLiteral("media:track/12")), CMPath("media:track/12"));
    EXPECT_EQ(CMPath::fromQVariant(QVariant::fromValue(CMPath("a:b"))), CMPath("a:b"));
    EXPECT_TRUE(CMPath::fromQVariant(12).isEmpty());
    EXPECT_TRUE(CMPath::fromQVariant(QVariantList{"a:b"}).isEmpty());
    EXPECT_EQ(CMPath::fromQVariant(CMPath("a:b?x=1").toQVariant()), CMPath("a:b?x=1"));
}
