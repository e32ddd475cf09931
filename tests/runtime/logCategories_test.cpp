#include "runtime/logCategories.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testsupport::LogCapture;

struct Named {
    const QLoggingCategory& (*category)();
    const char* name;
};

const std::vector<Named>& allCategories()
{
    static const std::vector<Named> all{
        {ebo::log::network, "ebo.network"},
        {ebo::log::networkThreadIndicator, "ebo.network.threadindicator"},
        {ebo::log::networkConnection, "ebo.network.connection"},
        {ebo::log::networkServer, "ebo.network.server"},
        {ebo::log::networkService, "ebo.network.service"},
        {ebo::log::packetStream, "ebo.network.service.packetstream"},
        {ebo::log::timeController, "ebo.network.service.timecontroller"},
        {ebo::log::networkHost, "ebo.network.host"},
        {ebo::log::networkDirectory, "ebo.network.directory"},
        {ebo::log::directoryRoot, "ebo.network.directory.root"},
        {ebo::log::directoryRemote, "ebo.network.directory.remote"},
        {ebo::log::fileTransfer, "ebo.network.filetransfer"},
        {ebo::log::fileTransferDetailed, "detailed.ebo.network.filetransfer"},
        {ebo::log::remoteFile, "ebo.network.filetransfer.remote.file"},
        {ebo::log::processingThread, "ebo.network.filetransfer.processingthread"},
        {ebo::log::qtFileEngine, "ebo.network.filetransfer.qtfileengine"},
        {ebo::log::discoverer, "ebo.discoverer"},
        {ebo::log::fileStd, "ebo.file.std"},
        {ebo::log::fileCaching, "ebo.file.caching"},
        {ebo::log::fileFormats, "ebo.fileformats"},
        {ebo::log::freeze, "ebo.freeze"},
    };
    return all;
}

class LogCategories : public testing::Test {
protected:
    void SetUp() override { QLoggingCategory::setFilterRules(QString()); }
    void TearDown() override { QLoggingCategory::setFilterRules(QString()); }
};

TEST_F(LogCategories, AreNamedAsFieldEngineersWriteThem)
{
    for (const Named& entry : allCategories())
        EXPECT_STREQ(entry.category().categoryName(), entry.name);
}

TEST_F(LogCategories, EachIsOneObject)
{
    for (const Named& entry : allCategories())
        EXPECT_EQ(&entry.category(), &entry.category()) << entry.name;
}

TEST_F(LogCategories, BeginWithWarningsOn)
{
    for (const Named& entry : allCategories()) {
        const QLoggingCategory& category = entry.category();
        EXPECT_FALSE(category.isDebugEnabled()) << entry.name;
        EXPECT_FALSE(category.isInfoEnabled()) << entry.name;
        EXPECT_TRUE(category.isWarningEnabled()) << entry.name;
        EXPECT_TRUE(category.isCriticalEnabled()) << entry.name;
    }
}

TEST_F(LogCategories, WithoutRulesAFailureIsVisibleAndASuccessIsNot)
{
    const LogCapture log;
    qCWarning(ebo::log::packetStream) << "Failed to send a packet";
    qCInfo(ebo::log::networkConnection) << "Connected to host:";
    qCDebug(ebo::log::networkConnection) << "New Connection:";
    EXPECT_THAT(log.texts(), ElementsAre("Failed to send a packet"));
    EXPECT_EQ(log.entries()[0].category, "ebo.network.service.packetstream");
}

TEST_F(LogCategories, ARuleTurnsOnOneLayerAndNoOther)
{
    QLoggingCategory::setFilterRules(QStringLiteral("ebo.network.threadindicator.debug=true"));
    for (const Named& entry : allCategories()) {
        const bool meant = std::string(entry.name) == "ebo.network.threadindicator";
        EXPECT_EQ(entry.category().isDebugEnabled(), meant) << entry.name;
    }
}

TEST_F(LogCategories, APatternTurnsOnAWholeSubtree)
{
    QLoggingCategory::setFilterRules(QStringLiteral("ebo.network.filetransfer*=true"));
    EXPECT_TRUE(ebo::log::fileTransfer().isDebugEnabled());
    EXPECT_TRUE(ebo::log::remoteFile().isDebugEnabled());
    EXPECT_FALSE(ebo::log::fileTransferDetailed().isDebugEnabled());
    EXPECT_FALSE(ebo::log::network().isDebugEnabled());
}

}  // namespace
