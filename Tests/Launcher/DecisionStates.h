// The states of sku file and registration that the decision of the updater hand-off is tried with.
#pragma once

#include "Tests/Launcher/DecisionModel.h"

#include <functional>
#include <string>
#include <vector>

enum class SkuKind { Absent, Folder, Held, File }; // held: open elsewhere without sharing

struct SkuState {
    std::string name;
    SkuKind kind;
    std::string bytes;
};

struct RegistrationState {
    std::string name;
    std::function<void(Registration&)> spoil; // a whole registration, terminators included
};

// For install folders of that many characters.
std::vector<SkuState> SkuStates(std::size_t folderLength);

std::vector<RegistrationState> RegistrationStates();
