#include "authorview_colours.h"

#include <cstdio>

namespace AuthorViewColours
{
namespace
{
std::string Vec3(const std::array<float, 3>& rgb)
{
    char text[64];
    std::snprintf(text, sizeof(text), "vec3(%.9g, %.9g, %.9g)", rgb[0], rgb[1], rgb[2]);
    return text;
}
} // namespace

std::string DeclareGlsl()
{
    std::string glsl;
    for (int i = 0; i < TypeFirst; ++i)
        glsl += std::string("const vec3 ") + Table[i].Name + " = " + Vec3(Table[i].Rgb) + ";\n";
    const std::string count = std::to_string(TypeCount);
    glsl += "const vec3 TypeColours[" + count + "] = vec3[" + count + "](";
    for (int i = 0; i < TypeCount; ++i)
        glsl += (i ? ", " : "") + Vec3(Table[TypeFirst + i].Rgb);
    return glsl + ");\n";
}
} // namespace AuthorViewColours
