#pragma once

#include <string>
#include <string_view>

// Runs the C preprocessor of the shading language over a whole effect text:
// #include, #define, #if and the rest. The effect's own structure
// (techniques, passes, annotations, sampler_state blocks) passes through as
// tokens; comments go.
//
// Line mapping: the output carries `#line N "name"` directives wherever its
// lines stop following the input one for one (after an #include, at the end
// of an #include, after lines removed by #if), so line N of a file is always
// known from the nearest directive above. The output starts with one for the
// text itself.
class CShaderPreprocessor
{
public:
    // `name` names the text in #line directives and error messages;
    // `includeDir` is where #include "file" looks for its files. On failure
    // `errors` holds a listing as Listing() writes it.
    static bool Preprocess(std::string_view text, std::string_view name, const std::string& includeDir,
                           std::string& output, std::string& errors);

    // glslang's messages ("ERROR: name:12: text") as a listing, one a line:
    // "name(12) : error: text". Its summary lines go.
    static std::string Listing(const std::string& log);

    // "[apppath]nodedata", where the effects' shared include files live.
    static std::string DefaultIncludeDir();
};
