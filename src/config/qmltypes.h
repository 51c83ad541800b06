#pragma once

class CConfigViewModel;

// Registers the module "Lumora" 1.0; the singleton "ConfigViewModel" hands
// out `root`, which must be set before the first QML document loads.
void RegisterConfigQmlTypes();
void SetQmlRootViewModel(CConfigViewModel* root);
