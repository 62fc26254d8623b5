// The JSON texts an add request carries, read the ways the host and the module read them: the check
// of the whole body on the HTTP thread, the add's entries read straight into records, and each
// entry's roles read for its track facts. Figures are CPU time; bytes/s is of the text read.
#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QHash>
#include <QString>
#include <string>

#include "KeloJson.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "http/RequestBody.h"

namespace {

// A track's roles as a media library hands them over.
QByteArray rolesOf(int i, const QString& title)
{
    static const QString form =
        QStringLiteral(R"({"type":3,"title":"%1","duration":%2,"mediaData":{"resources":[{"uri":"demo://track/%3"}]}})");
    return form.arg(title)
        .arg(180 + i % 120)
        .arg(i)
        .toUtf8();
}

// A JSON text in quotes, its quotes and backslashes escaped (the texts made here hold no others).
QByteArray quoted(const QByteArray& text)
{
    QByteArray out = text;
    out.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + out + '"';
}

// The body of an add of count entries; wide gives titles outside ASCII.
QByteArray addBody(int count, bool wide)
{
    QByteArray items = "[";
    for (int i = 0; i < count; ++i) {
        const QString title =
            (wide ? QStringLiteral("Tr\u00e4ck \u266b %1 \U0001F3B5") : QStringLiteral("Track %1")).arg(i);
        if (i > 0)
            items += ',';
        items += R"({"title":)" + quoted(title.toUtf8()) + R"(,"artist":"Artist )" + QByteArray::number(i % 37) +
                 R"(","album":"","artworkUrl":"","genre":"","durationSeconds":)" + QByteArray::number(180 + i % 120) +
                 R"(,"url":"demo://track/)" + QByteArray::number(i) + R"(","serviceId":"media","keloRoles":)" +
                 quoted(rolesOf(i, title)) + "}";
    }
    items += "]";
    return R"({"path":"playlists:pl/addexternalitems","value":{"plid":1,"mode":"append","items":)" + items + "}}";
}

const QByteArray& body(bool wide)
{
    static const QByteArray ascii = addBody(10000, false);
    static const QByteArray other = addBody(10000, true);
    return wide ? other : ascii;
}

// The add's value, as the body's check hands it on.
QByteArray valueText(bool wide)
{
    QHash<QString, QByteArray> members;
    if (!KeloJson::members(body(wide), RequestBody::MaxTextChars, &members))
        return QByteArray();
    return members.value(QStringLiteral("value"));
}

void RequestBodyParse(benchmark::State& state)
{
    const std::string text = body(state.range(0)).toStdString();
    for (auto _ : state) {
        RequestBody request;
        CMError error;
        if (!request.parse(text, &error))
            state.SkipWithError("the body was declined");
        benchmark::DoNotOptimize(request);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void AddEntriesRead(benchmark::State& state)
{
    const QByteArray text = valueText(state.range(0));
    for (auto _ : state) {
        KeloPlayListPlAddExternalItems args;
        if (!args.readJson(text))
            state.SkipWithError("the entries were declined");
        benchmark::DoNotOptimize(args);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size());
}

void TrackFactsRead(benchmark::State& state)
{
    QList<QByteArray> roles;
    int64_t bytes = 0;
    for (int i = 0; i < 1000; ++i) {
        const QString title = (state.range(0) ? QStringLiteral("Tr\u00e4ck \u266b %1") : QStringLiteral("Track %1")).arg(i);
        roles.append(rolesOf(i, title));
        bytes += roles.last().size();
    }
    for (auto _ : state) {
        for (const QByteArray& text : roles) {
            KeloTrackFacts facts;
            if (!KeloRoles::readTrackFacts(text, &facts))
                state.SkipWithError("the roles were declined");
            benchmark::DoNotOptimize(facts);
        }
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes);
}

// Each row of a page of 50 decodes its roles text and the page is written out again.
void PageRoundTrip(benchmark::State& state)
{
    QList<QByteArray> roles;
    int64_t bytes = 0;
    for (int i = 0; i < 50; ++i) {
        roles.append(rolesOf(i, QStringLiteral("Track %1").arg(i)));
        bytes += roles.last().size();
    }
    for (auto _ : state) {
        QVariantList rows;
        for (const QByteArray& text : roles)
            rows.append(QVariantHash{{"roles", KeloJson::parse(text)}, {"title", QStringLiteral("Track")}, {"id", 7}});
        benchmark::DoNotOptimize(KeloJson::stringifyUtf8(QVariantHash{{"rows", rows}, {"rowsCount", 50}}));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes);
}

}  // namespace

// Argument 0: texts in ASCII; 1: texts with two-, three- and four-byte characters.
BENCHMARK(RequestBodyParse)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(AddEntriesRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(TrackFactsRead)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(PageRoundTrip)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
