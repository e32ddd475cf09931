#include "analysis/ITrackDataFactory.h"

#include "file/eboFileFactory.h"

#include <utility>

ITrackDataFactory::ITrackDataFactory(ebo::refptr<eboFileFormats> formats)
    : formats_(formats ? std::move(formats) : ebo::makeRef<eboFileFormats>(ebo::refptr<eboFileFactory>()))
{}

ITrackDataFactory::~ITrackDataFactory() = default;
