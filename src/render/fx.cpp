#include "render/fx.h"

#include "app/regularfile.h"
#include "render/camera.h"
#include "render/fxmanager.h"
#include "render/fxparser.h"
#include "render/render.h"

#include <algorithm>
#include <cstring>

namespace {

enum class EMatrix
{
    WorldViewProjection,
    World,
    WorldInverseTranspose,
    ViewInverse,
    View,
    Projection,
    WorldView,
    ViewProjection,
    ViewProjectionInverse,
};

struct SSemantic
{
    const char* name;
    EMatrix value;
    bool columns; // loaded column by column; the TRANSPOSE names row by row
};

// Compared exactly: a lower-case semantic is not one of these.
constexpr SSemantic s_semantics[] = {
    {"WORLDVIEWPROJECTION", EMatrix::WorldViewProjection, true},
    {"WORLD", EMatrix::World, true},
    {"WORLDINVERSETRANSPOSE", EMatrix::WorldInverseTranspose, true},
    {"VIEWINVERSE", EMatrix::ViewInverse, true},
    {"VIEW", EMatrix::View, true},
    {"PROJECTION", EMatrix::Projection, true},
    {"WORLDVIEW", EMatrix::WorldView, true},
    {"VIEWPROJECTION", EMatrix::ViewProjection, true},
    {"WORLDTRANSPOSE", EMatrix::World, false},
    {"VIEWTRANSPOSE", EMatrix::View, false},
    {"PROJECTIONTRANSPOSE", EMatrix::Projection, false},
    {"WORLDVIEWPROJECTIONTRANSPOSE", EMatrix::WorldViewProjection, false},
    {"WORLDVIEWTRANSPOSE", EMatrix::WorldView, false},
    {"VIEWPROJECTIONTRANSPOSE", EMatrix::ViewProjection, false},
    {"VIEWPROJECTIONINVERSE", EMatrix::ViewProjectionInverse, true},
};

CMatrix MatrixOf(EMatrix which, const CMatrix& w, const CMatrix& v, const CMatrix& p)
{
    switch (which) {
    case EMatrix::WorldViewProjection: return MatrixMultiply(MatrixMultiply(w, v), p);
    case EMatrix::World: return w;
    case EMatrix::WorldInverseTranspose: return MatrixTranspose(MatrixInverse(w));
    case EMatrix::ViewInverse: return MatrixInverse(v);
    case EMatrix::View: return v;
    case EMatrix::Projection: return p;
    case EMatrix::WorldView: return MatrixMultiply(w, v);
    case EMatrix::ViewProjection: return MatrixMultiply(v, p);
    case EMatrix::ViewProjectionInverse: return MatrixInverse(MatrixMultiply(v, p));
    }
    return w;
}

} // namespace

// --- CFxParam ---------------------------------------------------------------

std::string CFxParam::GetName() const
{
    return m_handle ? m_handle->m_desc.m_name : std::string();
}

EFxType CFxParam::GetType() const
{
    return m_handle ? m_handle->m_desc.m_type : FT_Unknown;
}

std::string CFxParam::GetSemantic() const
{
    return m_handle ? m_handle->m_desc.m_semantic : std::string();
}

void CFxParam::SetFloat(float value)
{
    Store(1, &value);
}

void CFxParam::SetVector2(const float* values)
{
    Store(2, values);
}

void CFxParam::SetVector3(const float* values)
{
    Store(3, values);
}

void CFxParam::SetVector4(const float* values)
{
    Store(4, values);
}

void CFxParam::SetFloatArray(int count, const float* values)
{
    Store(count, values);
}

void CFxParam::SetMatrix(const float* values, bool columns)
{
    if (!columns) {
        Store(16, values);
        return;
    }
    float rows[16];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            rows[r * 4 + c] = values[c * 4 + r];
    Store(16, rows);
}

void CFxParam::Store(int count, const float* values)
{
    if (!m_handle || count <= 0 || !values)
        return;
    std::vector<float>& target = m_handle->m_values;
    const size_t n = std::min(target.size(), static_cast<size_t>(count));
    if (std::equal(values, values + n, target.begin()))
        return;
    std::copy(values, values + n, target.begin());
    if (m_handle->m_effect)
        m_handle->m_effect->ParameterChanged(*m_handle);
}

// --- CFxPass and CFxTechnique ----------------------------------------------

void CFxPass::SetState()
{
    if (IsValid())
        m_technique->m_owner->SetPassState(m_technique->m_handle, m_handle);
}

void CFxPass::ResetState()
{
    if (IsValid())
        m_technique->m_owner->ResetPassState(m_technique->m_handle, m_handle);
}

CFxPass CFxTechnique::GetPass(const std::string& name)
{
    const std::vector<SFxPassDesc>& passes = m_owner->GetDesc().m_techniques[m_handle].m_passes;
    for (size_t i = 0; i < passes.size(); ++i)
        if (passes[i].m_name == name)
            return CFxPass(this, static_cast<int>(i));
    return CFxPass(this, -1);
}

CFxPass* CFxTechnique::FirstPass()
{
    if (m_owner->GetDesc().m_techniques[m_handle].m_passes.empty())
        return nullptr;
    m_currentPass = CFxPass(this, 0);
    return &m_currentPass;
}

CFxPass* CFxTechnique::NextPass()
{
    const int count = static_cast<int>(m_owner->GetDesc().m_techniques[m_handle].m_passes.size());
    if (m_currentPass.m_handle < 0 || m_currentPass.m_handle + 1 >= count)
        return nullptr;
    m_currentPass = CFxPass(this, m_currentPass.m_handle + 1);
    return &m_currentPass;
}

// --- CFx ----------------------------------------------------------------------

CFx::CFx(CFxManager* manager) : m_manager(manager) {}

CFx::~CFx() = default;

bool CFx::Load(const std::string& path)
{
    std::string text, why;
    if (!ReadRegularFile(path, FileLimit::Effect, text, why)) {
        m_manager->ReportError("The file \"" + path + "\" " + why, FXE_File, "");
        return false;
    }
    const size_t slash = path.find_last_of('/');
    return Create(text, slash == std::string::npos ? path : path.substr(slash + 1));
}

bool CFx::Parse(const std::string& text)
{
    return Create(text, "effect");
}

bool CFx::Create(const std::string& text, const std::string& sourceName)
{
    m_sourceName = sourceName;
    std::string preprocessed, errors;
    if (!m_manager->Preprocess(text, sourceName, preprocessed, errors)) {
        m_manager->ReportError("The effect text could not be preprocessed", FXE_Compile, errors);
        return false;
    }
    CFxParser parser;
    if (!parser.Parse(preprocessed, sourceName, m_desc)) {
        m_manager->ReportError("The effect's structure is broken", FXE_Structure, parser.GetError());
        return false;
    }
    m_params.clear();
    for (const SFxParamDesc& desc : m_desc.m_params) {
        auto param = std::make_unique<SFxParameter>();
        param->m_desc = desc;
        param->m_effect = this;
        param->m_values.assign(static_cast<size_t>(FxTypeFloats(desc.m_type)) * std::max(1, desc.m_arraySize), 0.0f);
        std::copy_n(desc.m_initialValues.begin(), std::min(desc.m_initialValues.size(), param->m_values.size()),
                    param->m_values.begin());
        m_params.push_back(std::move(param));
    }
    m_created = CompilePrograms();
    return m_created;
}

CFxTechnique* CFx::GetBestTechnique()
{
    for (size_t i = 0; i < m_desc.m_techniques.size(); ++i)
        if (ValidateTechnique(static_cast<int>(i)))
            return new CFxTechnique(this, static_cast<int>(i));
    return nullptr;
}

CFxTechnique* CFx::GetTechnique(const std::string& name)
{
    for (size_t i = 0; i < m_desc.m_techniques.size(); ++i) {
        if (m_desc.m_techniques[i].m_name != name)
            continue;
        // Validated so that its programs exist; the answer is not looked at.
        ValidateTechnique(static_cast<int>(i));
        return new CFxTechnique(this, static_cast<int>(i));
    }
    return nullptr;
}

CFxParam CFx::GetParam(const std::string& name)
{
    for (const std::unique_ptr<SFxParameter>& param : m_params)
        if (param->m_desc.m_name == name)
            return CFxParam(param.get());
    return CFxParam();
}

void CFx::UpdateParameter(CFxParam param, CRender* render)
{
    if (!param || param.GetType() != FT_Float4x4 || !render)
        return;
    const std::string& semantic = param.m_handle->m_desc.m_semantic;
    for (const SSemantic& s : s_semantics) {
        if (semantic != s.name)
            continue;
        const CMatrix m = MatrixOf(s.value, m_world, render->GetCamera()->m_view, render->GetProjection());
        param.SetMatrix(m.data(), s.columns);
        return;
    }
}

void CFx::UpdateParameters(CRender* render)
{
    for (const std::unique_ptr<SFxParameter>& param : m_params)
        UpdateParameter(CFxParam(param.get()), render);
}
