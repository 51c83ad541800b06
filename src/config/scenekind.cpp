#include "config/scenekind.h"

ESceneKind SceneKind(int32_t sceneType)
{
    for (ESceneKind kind : {ESceneKind::Background, ESceneKind::Foreground, ESceneKind::Postprocessing,
                            ESceneKind::Transition}) {
        if (sceneType & int32_t(kind))
            return kind;
    }
    return ESceneKind::Standalone;
}

QString SceneKindLabel(ESceneKind kind)
{
    switch (kind) {
    case ESceneKind::Background:
        return QStringLiteral("Background");
    case ESceneKind::Foreground:
        return QStringLiteral("Foreground");
    case ESceneKind::Postprocessing:
        return QStringLiteral("Postprocessing");
    case ESceneKind::Transition:
        return QStringLiteral("Transition");
    case ESceneKind::Standalone:
        break;
    }
    return QStringLiteral("Standalone");
}

int SceneKindIndex(ESceneKind kind)
{
    switch (kind) {
    case ESceneKind::Background:
        return 1;
    case ESceneKind::Foreground:
        return 2;
    case ESceneKind::Postprocessing:
        return 3;
    case ESceneKind::Transition:
        return 4;
    case ESceneKind::Standalone:
        break;
    }
    return 0;
}
