#pragma once
namespace eboUtils {
class PageCache {};
}  // namespace eboUtils
