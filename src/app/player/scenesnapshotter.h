#pragma once

class CRender;
class CScene;
struct CSceneSnapshot;

// Pictures of scenes for their containers' "scene.jpg" and "preview.jpg":
// the scene is drawn into a 1280 x 720 target of its own, without the depth
// and alpha tests and without culling, and read back.
bool SnapshotScene(CRender* render, CScene& scene, CSceneSnapshot& picture);

// Makes every CScene::Save that asks for images draw them on this render;
// null goes back to saving without images.
void InstallSceneSnapshots(CRender* render);
