#pragma once

#include "render/fx.h"
#include "renderogl/fxstateogl.h"
#include "renderogl/shadertypes.h"

#include <memory>
#include <string>
#include <vector>

class CGLProgram;
class CGLProgramCache;

// An effect on OpenGL: each pass's programs compiled to GLSL and linked,
// its render states turned into OpenGL calls, samplers bound to texture
// units with their sampler states.
class CFxOGL : public CFx
{
public:
    CFxOGL(CFxManager* manager, CGLProgramCache& programs);
    ~CFxOGL() override;

    void SetTexture(CFxParam param, std::shared_ptr<CTexture> texture) override;
    void SetPassState(int technique, int pass) override;
    void ResetPassState(int technique, int pass) override;
    void ParameterChanged(SFxParameter& param) override;

protected:
    bool CompilePrograms() override;
    bool ValidateTechnique(int technique) override;

private:
    struct SPass
    {
        std::vector<CFxStateOGL> m_states;
        std::shared_ptr<CGLProgram> m_program; // null for a pass without programs
    };
    struct STechnique
    {
        std::vector<SPass> m_passes;
        bool m_valid = true; // every pass's programs compiled and linked
    };
    // A sampler parameter: its unit, the sampler object made from its
    // sampler states (0 for none), and the texture target of its type.
    struct SSampler
    {
        SFxParameter* m_param = nullptr;
        int m_unit = 0;
        unsigned m_sampler = 0;
        unsigned m_target = 0;
        bool m_wantsMipMaps = false;
        unsigned m_minFilter = 0; // the filter without mip maps, for textures that have none
    };

    // The source of the program an assignment compiles; false when the
    // assignment is not a compile for that stage.
    bool ProgramSource(const SFxStateAssignment& assignment, EShaderStage stage, SShaderSource& source);
    // Compiles and links the programs of a pass; false reports why.
    bool BuildPass(const SFxPassDesc& desc, const std::string& technique, SPass& pass);
    void MakeSamplers();
    void Upload(SFxParameter& param);
    // After the program is in use: sampler objects on the program's units.
    void BindSamplers();

    CGLProgramCache& m_programs;
    std::vector<STechnique> m_techniques;
    std::vector<SSampler> m_samplers;
    CGLProgram* m_activeProgram = nullptr;
};
