#pragma once

#include <string>
#include <string_view>

class CPortTexture;

// Pieces of the effect texts that nodes compose around an author's fragment:
// the header declares only what the fragment uses.

// True if the text names one of the fast noise functions, which sample the
// 3D noise texture; only then is its sampler declared.
bool UsesFastNoise(std::string_view text);

// Adds `line` if `name` stands in the text not followed by a letter or a
// digit. What stands in front isn't examined, so a comment or a longer name
// that ends in `name` counts as a use: a needless declaration is harmless, a
// missing one breaks the compile.
void AddIfUsed(std::string_view text, std::string& header, std::string_view line, std::string_view name);

// Declares the sampler `name` for the texture connected to `port`, with the
// filter and address modes its source publishes, unless the text declares
// it itself or never uses it. Answers the dimension of the source's record,
// which the text is then written for; 0 without a connection or record.
int AddSampler(std::string_view text, std::string& header, const CPortTexture& port, const std::string& name);
