#pragma once
namespace eboUtils { class PageCache {}; }
