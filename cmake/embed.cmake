# Usage: cmake -DINPUT=FILE -DOUTPUT=FILE -DHEADER=NAME -DNAME=NAME -P embed.cmake
# Writes C++ source that defines the arrays of bytes that HEADER declares, with the bytes of INPUT.
file(READ "${INPUT}" bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
string(REPEAT "[^,]*," 20 line)
string(REGEX REPLACE "(${line})" "\\1\n" bytes "${bytes}")
file(WRITE "${OUTPUT}" "#include \"${HEADER}\"

namespace qmsg {
const unsigned char ${NAME}[] = {
${bytes}
};
const std::size_t ${NAME}Size = sizeof(${NAME});
}  // namespace qmsg
")
