#pragma once

#include "render/fxeffectdesc.h"

#include <string>
#include <string_view>

// Takes an effect text apart after preprocessing: global parameters with
// their semantics, initial values and sampler states, techniques with their
// passes and state assignments. Annotations are skipped. What remains is
// plain shading code for the compiler, with the same line numbers.
// `#line` directives in the text are honoured in messages and kept in the
// code.
class CFxParser
{
public:
    // False with a message "name(line): text" when the structure is broken.
    bool Parse(std::string_view text, std::string_view sourceName, SFxEffectDesc& out);
    const std::string& GetError() const { return m_error; }

private:
    std::string m_error;
};
