#pragma once

#include <string>
#include <vector>

// How one shipped scene is made: a full-screen rectangle drawn with a shader
// fragment, the sound reaching the shader through the preprocessing
// expression. The builder turns each recipe into a scene container.
struct SSceneRecipe
{
    std::string m_file;        // below the data directory, e.g. "scenes/Plasma.lmc"
    std::string m_desc;
    std::string m_tags;        // comma separated
    std::string m_fragment;    // the Shader port: VS_Program and PS_Program
    std::string m_expression;  // the Expression port
    int m_sceneType = 0x100;
    // Texture1/Texture2 of the shader read the Transition node's two scenes
    // (transitions), or Texture1 reads the PreviousLayer (postprocessing).
    bool m_transition = false;
    bool m_postprocessing = false;
    // Drawn over what is below with its alpha (a foreground layer).
    bool m_blended = false;
};

// Every scene that ships, transitions and special scenes included.
std::vector<SSceneRecipe> SceneRecipes();
