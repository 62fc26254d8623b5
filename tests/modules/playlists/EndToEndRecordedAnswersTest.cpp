// kelo-host answers a recorded session of requests exactly as it answered when the session was recorded:
// every status and every JSON value, in order. data/api-exchanges.json holds the requests with their
// answers, recorded with data/record-api-answers.py (only after a change meant to change answers).
#include <QFile>

#include "EndToEndSupport.h"

using namespace pltest;

namespace {

QString exchangesFile()
{
    return QStringLiteral(KELO_SOURCE_DIR "/tests/modules/playlists/data/api-exchanges.json");
}

QJsonArray readExchanges()
{
    QFile file(exchangesFile());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).array();
}

std::string compact(const QJsonValue& value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).toStdString();
}

}  // namespace

TEST_F(EndToEnd, ARecordedSessionGetsTheRecordedAnswers)
{
    const QJsonArray exchanges = readExchanges();
    ASSERT_GT(exchanges.size(), 50) << "no recorded requests in " << exchangesFile().toStdString();
    for (int i = 0; i < exchanges.size(); ++i) {
        const QJsonObject exchange = exchanges[i].toObject();
        const QJsonObject body = exchange["body"].toObject();
        const HttpAnswer answer = client->post(exchange["endpoint"].toString().toStdString(),
                                               QJsonDocument(body).toJson(QJsonDocument::Compact));
        ASSERT_TRUE(exchange.contains("answer")) << "request " << i << " has no recorded answer";
        const std::string request = "request " + std::to_string(i) + " " + compact(body);
        EXPECT_EQ(answer.status, exchange["status"].toInt()) << request;
        EXPECT_EQ(compact(answer.body), compact(exchange["answer"].toObject())) << request;
    }
}
