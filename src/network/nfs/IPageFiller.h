#pragma once

namespace eboUtils {

struct Page;

/// Where a PageCache gets the content of a page that it does not hold.
class IPageFiller {
public:
    virtual ~IPageFiller() = default;

    /// Brings the content of `page->pageNumber` into the page, which holds zeros. May take its time: the
    /// cache is not locked, and nobody else fills the same page meanwhile. Any thread.
    /// @param result  1 if the page may be used; 0 or -1 to be passed on to who asked for it
    virtual void fillPage(Page* page, int* result) = 0;
};

}  // namespace eboUtils
