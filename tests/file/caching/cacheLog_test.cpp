#include "CopyingRig.h"
#include "ViewRig.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"

#include <QLoggingCategory>
#include <QThread>

#include <gmock/gmock.h>

#include <filesystem>
#include <mutex>
#include <string>

namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testsupport::kRead;
using State = eboFileCachingThread::State;

constexpr const char* kCategory = "ebo.file.caching";

class CacheLog : public testsupport::ViewRig {
protected:
    CacheLog() { QLoggingCategory::setFilterRules(QStringLiteral("ebo.file.caching=true")); }
    ~CacheLog() override { QLoggingCategory::setFilterRules(QString()); }

    const testsupport::LogCapture log_;
};

TEST_F(CacheLog, ACopyIsToldFromItsViewToTheSwitch)
{
    const auto view = viewOf(pattern(100));
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    ASSERT_EQ(copies().size(), 1U);
    const std::string copy = '"' + copies().front() + '"';
    EXPECT_THAT(log_.entries(),
                ElementsAre(FieldsAre(QtInfoMsg, kCategory, "Cached file created: \"/slow/a.wav\""),
                            FieldsAre(QtInfoMsg, kCategory,
                                      "Starting caching of file: \"/slow/a.wav\" , at: " + copy),
                            FieldsAre(QtInfoMsg, kCategory, "File cached: \"/slow/a.wav\""),
                            FieldsAre(QtDebugMsg, kCategory,
                                      "Switching to cached version of \"/slow/a.wav\" , at: " + copy)));
}

TEST_F(CacheLog, ACopyThatFailsIsNotToldAsMade)
{
    storage_->failAt = 0;
    const auto view = viewOf(pattern(100));
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Failed));
    EXPECT_TRUE(isCleared());
    EXPECT_EQ(log_.entries().size(), 2U);
    EXPECT_FALSE(log_.contains("File cached:"));
}

TEST_F(CacheLog, AFileForWhichThereIsNoRoomIsTold)
{
    const std::string path = dir_.file("track.wav");
    testsupport::writeWholeFile(path, "x");
    const auto space = std::filesystem::space(dir_.path()).available;
    std::filesystem::resize_file(path, space + (std::uintmax_t{1} << 40U));
    const auto cache = ebo::makeRef<eboFileCache>(dir_.path());
    EXPECT_FALSE(cache->createCachedFile(factory_->open(path.c_str(), {}), factory_));
    EXPECT_THAT(log_.entries(),
                ElementsAre(FieldsAre(QtInfoMsg, kCategory, "Couldn't cache file \"" + path + '"')));
}

/// Remembers the name of the thread that told it last.
class NameRecord : public eboFileCachingThreadListener {
public:
    void onCacheStateChanged(int state) override
    {
        const std::lock_guard guard(mutex_);
        if (state == State::Copying)
            name_ = QThread::currentThread()->objectName().toStdString();
    }

    [[nodiscard]] std::string name() const
    {
        const std::lock_guard guard(mutex_);
        return name_;
    }

private:
    mutable std::mutex mutex_;
    std::string name_;
};

class CachingThreadOwner : public testsupport::CopyingRig {};

TEST_F(CachingThreadOwner, TheThreadBearsTheNameOfTheFile)
{
    const auto names = ebo::makeRef<NameRecord>();
    begin(pattern(10));
    thread_->addListener(ebo::weakptr<eboFileCachingThreadListener>(names));
    open();
    ASSERT_TRUE(record_->reaches(State::Complete));
    EXPECT_EQ(names->name(), "File cache thread (/slow/take 1.flac)");
}

TEST_F(CachingThreadOwner, AViewThatDiesIsForgotten)
{
    begin(pattern(10));
    ASSERT_EQ(thread_->listenerCount(), 1U);
    {
        const auto view = ebo::makeRef<eboCachedFile>(thread_, source_->clone(), nullptr);
        thread_->addListener(ebo::weakptr<eboFileCachingThreadListener>(view));
        const auto other = view->clone();
        EXPECT_EQ(thread_->listenerCount(), 3U);
    }
    EXPECT_TRUE(testsupport::eventually([&] { return thread_->listenerCount() == 1; }));
}

}  // namespace
