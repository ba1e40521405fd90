# Run with -DINPUT= -DOUTPUT= -DFUNCTION=: writes a C++ source whose function returns the input file's bytes.
# Bytes rather than a string literal: compilers need not accept literals beyond 65,536 characters.
file(READ "${INPUT}" hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE "${OUTPUT}" "#include <tool/models/models.h>

static unsigned char const content[] = {
${bytes}};

std::string tool::${FUNCTION}()
{
    return std::string(reinterpret_cast<char const*>(content), sizeof content);
}
")
