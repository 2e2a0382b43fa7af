# cmake -DROOT=<folder> -DOUTPUT=<file.cpp> -DFUNCTION=<name> -DFILES=<a|b|c> -P EmbedFiles.cmake
# Writes a C++ file whose function returns the given files of ROOT (names relative to it)
# with their bytes, so that the program carries them inside itself.
string(REPLACE "|" ";" FILES "${FILES}")
set(body "")
set(table "")
set(index 0)
foreach(name IN LISTS FILES)
    file(READ "${ROOT}/${name}" hex HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," hex "${hex}")
    string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" hex "${hex}")
    string(APPEND body "const unsigned char k${index}[] = {\n${hex}0};\n")
    string(APPEND table "        {\"${name}\", {k${index}, sizeof k${index} - 1}},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}.new" "// Made by cmake/EmbedFiles.cmake from ${ROOT}; not to be edited.
#include \"app/embedded_files.h\"

namespace tess {

namespace {
${body}
} // namespace

const std::vector<EmbeddedFile>& ${FUNCTION}() {
    static const std::vector<EmbeddedFile> files = {
${table}    };
    return files;
}

} // namespace tess
")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
