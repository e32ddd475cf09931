#pragma once

#include "analysis/ITrackData.h"
#include "formats/eboFileFormats.h"
#include "runtime/refptr.h"

#include <QObject>
#include <QString>

/// Makes the track object of a run. Lives on the main thread.
class ITrackDataFactory : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// @param formats  handed to every track; null makes a registry over a plain local file factory
    explicit ITrackDataFactory(ebo::refptr<eboFileFormats> formats);
    ~ITrackDataFactory() override;

    [[nodiscard]] virtual ebo::refptr<ITrackData> create(const QString& path) = 0;

protected:
    [[nodiscard]] const ebo::refptr<eboFileFormats>& formats() const { return formats_; }

private:
    const ebo::refptr<eboFileFormats> formats_;
};
