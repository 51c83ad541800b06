#pragma once

#include "render/fxeffectdesc.h"
#include "render/matrix.h"

#include <memory>
#include <string>
#include <vector>

class CFx;
class CFxManager;
class CFxTechnique;
class CRender;
class CTexture;

// A global parameter of a loaded effect with its current value. Values live
// in the effect, not in a program, so that every pass sees them.
struct SFxParameter
{
    SFxParamDesc m_desc;
    std::vector<float> m_values; // as the shader reads them, row by row
    std::shared_ptr<CTexture> m_texture;
    CFx* m_effect = nullptr;
};

// A handle to an effect parameter, which may be empty: nodes test it before
// use, so an effect lacking an optional parameter simply does without.
class CFxParam
{
public:
    CFxParam() = default;
    explicit CFxParam(SFxParameter* handle) : m_handle(handle) {}
    virtual ~CFxParam() = default;
    CFxParam(const CFxParam&) = default;
    CFxParam& operator=(const CFxParam&) = default;

    bool IsValid() const { return m_handle != nullptr; }
    explicit operator bool() const { return IsValid(); }

    virtual std::string GetName() const;
    virtual EFxType GetType() const;
    virtual std::string GetSemantic() const;
    virtual void SetFloat(float value);
    virtual void SetVector2(const float* values);
    virtual void SetVector3(const float* values);
    virtual void SetVector4(const float* values);
    // `count` floats from the start of the parameter, arrays included.
    virtual void SetFloatArray(int count, const float* values);
    // A matrix of 16 floats read column by column (`columns`) or row by row.
    void SetMatrix(const float* values, bool columns);

    SFxParameter* m_handle = nullptr;

private:
    void Store(int count, const float* values);
};

// One pass of a technique: two words, its technique and its number (-1 for
// an empty pass, which does nothing).
class CFxPass
{
public:
    CFxPass() = default;
    CFxPass(CFxTechnique* technique, int handle) : m_technique(technique), m_handle(handle) {}

    bool IsValid() const { return m_technique && m_handle >= 0; }
    // Binds the pass's programs, parameters, textures and render states.
    void SetState();
    // Puts the render states the pass assigned back to their defaults.
    void ResetState();

    CFxTechnique* m_technique = nullptr;
    int m_handle = -1;
};

// A technique of an effect. It belongs to whoever asked for it.
class CFxTechnique
{
public:
    CFxTechnique(CFx* owner, int handle) : m_owner(owner), m_handle(handle) {}
    virtual ~CFxTechnique() = default;

    virtual CFxPass GetPass(const std::string& name);
    // Moves to the first pass: null when the technique has none.
    virtual CFxPass* FirstPass();
    // Moves on: null at the end.
    virtual CFxPass* NextPass();

    CFx* m_owner;
    CFxPass m_currentPass;
    int m_handle;
};

// A loaded effect: parameters, techniques and passes. The programs behind
// the passes are the concern of the render's own form of the class.
class CFx
{
public:
    explicit CFx(CFxManager* manager);
    virtual ~CFx();
    CFx(const CFx&) = delete;
    CFx& operator=(const CFx&) = delete;

    // True if an effect was created from the file or text.
    virtual bool Load(const std::string& path);
    virtual bool Parse(const std::string& text);
    // The first technique that validates on this device, or null. The caller
    // owns the result.
    virtual CFxTechnique* GetBestTechnique();
    virtual CFxTechnique* GetTechnique(const std::string& name);
    virtual CFxParam GetParam(const std::string& name);
    virtual void SetTexture(CFxParam param, std::shared_ptr<CTexture> texture) = 0;
    // Loads a float4x4 parameter with a known matrix semantic.
    virtual void UpdateParameter(CFxParam param, CRender* render);
    void UpdateParameters(CRender* render);

    // Pass state, by technique and pass number.
    virtual void SetPassState(int technique, int pass) = 0;
    virtual void ResetPassState(int technique, int pass) = 0;
    // A parameter's value changed; a device form uploads it to a bound pass.
    virtual void ParameterChanged(SFxParameter& /*param*/) {}

    bool IsCreated() const { return m_created; }
    const SFxEffectDesc& GetDesc() const { return m_desc; }
    std::vector<std::unique_ptr<SFxParameter>>& GetParameters() { return m_params; }

    CMatrix m_world = MatrixIdentity();
    CFxManager* m_manager;

protected:
    // Takes the text apart and compiles the programs; `sourceName` is what
    // messages call the text.
    bool Create(const std::string& text, const std::string& sourceName);
    // Compiles the programs of the parsed effect. False when no technique
    // can be used at all.
    virtual bool CompilePrograms() = 0;
    // Links a technique's programs on this device; true when all work.
    virtual bool ValidateTechnique(int technique) = 0;

    SFxEffectDesc m_desc;
    std::vector<std::unique_ptr<SFxParameter>> m_params;
    bool m_created = false;
    // What messages call the effect's text: its file name, or "effect".
    std::string m_sourceName;
};
