#pragma once
// A Controller on a fresh model, driven the way the worker drives it: set-data requests on the
// command paths, answered through their replies.
#include <QJsonArray>
#include <QJsonDocument>

#include "Controller.h"
#include "KeloPaths.h"
#include "PlayListTestSupport.h"

namespace pltest {

class ControllerTest : public ModelTest
{
protected:
    void SetUp() override
    {
        ModelTest::SetUp();
        controller = std::make_unique<Controller>(nullptr, manager.get());
    }
    void TearDown() override
    {
        controller.reset();
        ModelTest::TearDown();
    }

    // Sends value on path and returns the answer as it stands when the controller returned.
    Answer send(const CMPath& path, const QVariant& value)
    {
        CMSetDataRequest request(path, value);
        EXPECT_TRUE(controller->handleSetData(request)) << path.toEncoded().toStdString();
        return answerOf(request.reply());
    }
    int createPlayList(const QString& name)
    {
        return send(KeloPlayListPlCreatePath(), QVariantHash{{"name", name}}).value.i32_();
    }

    std::unique_ptr<Controller> controller;
};

// One argument record as a variant hash: {"plid": 5, "items": [1, 2]}.
inline QVariantHash args(std::initializer_list<std::pair<const char*, QVariant>> fields)
{
    QVariantHash hash;
    for (const auto& field : fields)
        hash.insert(QString::fromLatin1(field.first), field.second);
    return hash;
}

inline QVariantList itemList(const QList<KeloPlayListItem>& items)
{
    QVariantList list;
    for (const KeloPlayListItem& item : items)
        list.append(item.toVariant());
    return list;
}

// An add request's value as an HTTP client sends it, as JSON text: plid, then before, the items and
// after.
inline QByteArray addText(int plid, const QList<KeloPlayListItem>& items,
                          const QByteArray& before = "\"mode\":\"append\",", const QByteArray& after = "")
{
    const QByteArray itemsText = QJsonDocument(QJsonArray::fromVariantList(itemList(items))).toJson(QJsonDocument::Compact);
    return "{\"plid\":" + QByteArray::number(plid) + "," + before + "\"items\":" + itemsText + after + "}";
}

}  // namespace pltest
