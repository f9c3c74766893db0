// The system's store of driver packages: \DriverStore\FileRepository\ with a folder for each package.
#pragma once

#include <string_view>

namespace tandor {

// Whether a folder of the store holds a package that was staged from an INF file of this name. The system names the
// folder "<file name>_<processor>_<digest>", as "pad.inf_amd64_5f3c1e0d9a7b8c42"; one that was staged again with other
// content gets another digest. Both texts in lower case, `file_name` without a folder.
bool IsStoreFolderOf(std::wstring_view folder, std::wstring_view file_name);

}  // namespace tandor
