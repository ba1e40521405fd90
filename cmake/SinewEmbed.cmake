# Run with -DINPUT= -DOUTPUT= -DFUNCTION=. Writes a C++ source with a function that returns the bytes of the input file.
# It contains an array of bytes, because compilers need not accept string literals of more than 65,536 characters.
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
