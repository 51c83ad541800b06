#include "scene/effecttext.h"

#include "ports/types/dataports.h"
#include "scene/pdtexture.h"

#include <algorithm>
#include <cctype>

bool UsesFastNoise(std::string_view text)
{
    static constexpr std::string_view fastFunctions[] = {"_noisefast", "_noisegradientfast", "_fbmfast",
                                                         "_turbulencefast", "_ridgedmffast"};
    return std::any_of(std::begin(fastFunctions), std::end(fastFunctions),
                       [&](std::string_view name) { return text.find(name) != std::string_view::npos; });
}

void AddIfUsed(std::string_view text, std::string& header, std::string_view line, std::string_view name)
{
    for (size_t at = text.find(name); at != std::string_view::npos; at = text.find(name, at + name.size())) {
        const size_t behind = at + name.size();
        const unsigned char c = behind < text.size() ? static_cast<unsigned char>(text[behind]) : 0;
        if (c < 0x80 && std::isalnum(c))
            continue;
        header += line;
        return;
    }
}

int AddSampler(std::string_view text, std::string& header, const CPortTexture& port, const std::string& name)
{
    const CPDTexture* source = port.m_value;
    if (port.m_connections.empty() || !source)
        return 0;
    if (text.find(name + " = sampler_state") != std::string_view::npos)
        return source->m_dimension;
    std::string line;
    if (source->m_dimension == -1) {
        line = "samplerCUBE " + name +
               " = sampler_state { MinFilter = Linear; MagFilter = Linear; AddressU = ClampToEdge; AddressV = "
               "ClampToEdge;  AddressW = ClampToEdge; };\n";
    } else {
        // A source without mip maps must not be sampled with a mip map filter.
        const char* minFilter = (source->m_flags & PDT_MipMaps) ? "LinearMipMapLinear" : "Linear";
        const char* address = (source->m_flags & (PDT_Clamp | PDT_ClampToEdge)) ? "ClampToEdge" : "Repeat";
        line = "sampler" + std::to_string(source->m_dimension) + "D " + name +
               " = sampler_state { MinFilter = " + minFilter + "; MagFilter = Linear; AddressU = " + address +
               "; AddressV = " + address + "; };\n";
    }
    AddIfUsed(text, header, line, name);
    return source->m_dimension;
}
