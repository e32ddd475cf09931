#include "network/qml/registerNetworkTypes.h"

#include <QQmlComponent>
#include <QQmlEngine>

#include <gtest/gtest.h>

namespace {

TEST(NetworkTypes, CanBeMadeInQml)
{
    eboNetworkExchange::registerNetworkTypes();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import Network 1.0\n"
                      "ServiceFilteredHostModel { requiredServices: [\"FileTransfer\"] }",
                      QUrl());
    const std::unique_ptr<QObject> model(component.create());
    ASSERT_TRUE(model) << component.errorString().toStdString();
    EXPECT_EQ(model->property("requiredServices").toStringList(),
              QStringList{QStringLiteral("FileTransfer")});
}

}  // namespace
