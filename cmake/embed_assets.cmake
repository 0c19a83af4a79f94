# Writes OUTPUT, a C++ source that holds the files given in FILES (paths
# separated by '|') as byte arrays, for findAsset() of
# tools/console/assets.h. Run with cmake -P.
set(types_html "text/html; charset=utf-8")
set(types_js "text/javascript; charset=utf-8")
set(types_css "text/css; charset=utf-8")
set(types_svg "image/svg+xml")

string(REPLACE "|" ";" FILES "${FILES}")
set(arrays "")
set(entries "")
set(index 0)
foreach(file IN LISTS FILES)
  get_filename_component(name "${file}" NAME)
  get_filename_component(ext "${file}" LAST_EXT)
  string(SUBSTRING "${ext}" 1 -1 ext)
  file(READ "${file}" hex HEX)
  file(SIZE "${file}" size)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(APPEND arrays "const unsigned char asset${index}[] = {${bytes}0};\n")
  string(APPEND entries "    {\"${name}\", \"${types_${ext}}\", asset${index}, ${size}},\n")
  math(EXPR index "${index} + 1")
endforeach()

file(WRITE "${OUTPUT}.tmp" "// Generated from tools/console/page by cmake/embed_assets.cmake.
#include \"console/assets.h\"

namespace robocomm::console {

namespace {

${arrays}
const Asset kAssets[] = {
${entries}};

}  // namespace

const Asset* findAsset(const std::string& path) {
    for (const Asset& asset : kAssets)
        if (path == asset.path) return &asset;
    return nullptr;
}

}  // namespace robocomm::console
")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
