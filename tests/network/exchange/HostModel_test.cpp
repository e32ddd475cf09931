#include "network/exchange/HostModel.h"

#include "network/exchange/ExchangeTest.h"
#include "network/exchange/FakeNetwork.h"
#include "network/exchange/ServiceFilteredHostModel.h"

#include <gmock/gmock.h>

namespace {

using eboNetworkExchange::HostModel;
using eboNetworkExchange::ServiceFilteredHostModel;
using exchangetest::ExchangeTest;
using exchangetest::FakeNetwork;
using exchangetest::PumpedPeer;
namespace wire = exchangetest::wire;

struct HostModelTest : ExchangeTest {
    [[nodiscard]] QVariant data(int role) const { return model_->data(model_->index(0), role); }

    ebo::refptr<FakeNetwork> network_ = ebo::makeRef<FakeNetwork>();
    ebo::refptr<HostModel> model_ = ebo::makeRef<HostModel>(discoverer_, network_);
};

TEST_F(HostModelTest, HasARowForEveryDeviceThatIsHeard)
{
    EXPECT_EQ(model_->rowCount(), 0);
    const auto heard = announce(wire::kLower, 4711);
    ASSERT_EQ(model_->rowCount(), 1);
    EXPECT_EQ(data(HostModel::kUuidRole).toUuid(), wire::uuid(wire::kLower));
    EXPECT_EQ(data(Qt::DisplayRole).toString(), QStringLiteral("device"));
    EXPECT_EQ(data(HostModel::kPortRole).toInt(), 4711);
    EXPECT_EQ(data(HostModel::kAddressesRole).toStringList(), QStringList{QStringLiteral("127.0.0.1")});
    EXPECT_EQ(data(HostModel::kApplicationRole).toString(), QStringLiteral("Tunesift"));
    EXPECT_EQ(data(HostModel::kVersionRole).toString(), QStringLiteral("1.0.0"));
    EXPECT_FALSE(data(HostModel::kConnectedRole).isValid()) << "the network does not know it yet";
    discoverer_->lose(heard);
    EXPECT_EQ(model_->rowCount(), 0);
}

TEST_F(HostModelTest, TellsWhatTheNetworkKnows)
{
    announce(wire::kLower, 1);
    network_->add(hosts_.at(0));
    int changes = 0;
    QObject::connect(model_.get(), &QAbstractItemModel::dataChanged, [&changes] { ++changes; });
    EXPECT_FALSE(data(HostModel::kConnectedRole).toBool());
    PumpedPeer peer = identifiedPeer();
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(data(HostModel::kConnectedRole).toBool());
    EXPECT_EQ(data(HostModel::kPingRole).toLongLong(), -1);
    PumpedPeer stream = streamOfLower();
    readyService(hosts_.at(0));
    EXPECT_EQ(data(HostModel::kServicesRole).toStringList(), QStringList{serviceName()});
    network_->remove(hosts_.at(0));
    EXPECT_FALSE(data(HostModel::kServicesRole).isValid());
}

/// Rows with a name each, and their services under the role that the filter reads.
class Rows : public QAbstractListModel {
public:
    [[nodiscard]] int rowCount(const QModelIndex& /*parent*/ = QModelIndex()) const override { return 3; }

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override
    {
        constexpr int kServices = 271;
        static const QStringList names{QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("a")};
        static const QList<QStringList> services{{QStringLiteral("FileTransfer"), QStringLiteral("Time")},
                                                 {QStringLiteral("filetransfer")},
                                                 {QStringLiteral("FileTransfer")}};
        if (role == Qt::DisplayRole)
            return names[index.row()];
        return role == kServices ? services[index.row()] : QVariant();
    }
};

struct ServiceFilteredHostModelTest : testing::Test {
    ServiceFilteredHostModelTest() { filter_.setSourceModel(&source_); }

    [[nodiscard]] std::string names() const
    {
        std::string result;
        for (int row = 0; row < filter_.rowCount(); ++row)
            result += filter_.index(row, 0).data().toString().toStdString();
        return result;
    }

    Rows source_;
    ServiceFilteredHostModel filter_;
};

TEST_F(ServiceFilteredHostModelTest, KeepsWhatOffersEveryServiceInItsOwnSpelling)
{
    EXPECT_EQ(names(), "bca");
    filter_.setRequiredServices({QStringLiteral("FileTransfer")});
    EXPECT_EQ(names(), "ba");
    filter_.setRequiredServices({QStringLiteral("FileTransfer"), QStringLiteral("Time")});
    EXPECT_EQ(names(), "b");
}

TEST_F(ServiceFilteredHostModelTest, TellsOfNewRequirementsOnce)
{
    int told = 0;
    QObject::connect(&filter_, &ServiceFilteredHostModel::requiredServicesChanged, [&told] { ++told; });
    filter_.setRequiredServices({QStringLiteral("Time")});
    filter_.setRequiredServices({QStringLiteral("Time")});
    EXPECT_EQ(told, 1);
}

TEST_F(ServiceFilteredHostModelTest, OrdersByTheTextOfARole)
{
    filter_.setSortingData({{QStringLiteral("role"), QStringLiteral("display")}});
    EXPECT_EQ(names(), "abc");
    filter_.setSortingData(
        {{QStringLiteral("role"), QStringLiteral("display")}, {QStringLiteral("descending"), true}});
    EXPECT_EQ(names(), "cba");
    filter_.setSortingData({});
    EXPECT_EQ(names(), "bca");
}

}  // namespace
