#pragma once

#include <QString>
#include <memory>

// The LV2 plugins installed on this machine, as an LV2 host finds them (lilv, which Ardour and
// Carla use too): loaded once, then asked by URI.
class PluginCatalog {
public:
    PluginCatalog();
    ~PluginCatalog();
    PluginCatalog(const PluginCatalog&) = delete;
    PluginCatalog& operator=(const PluginCatalog&) = delete;

    bool hasLv2(const QString& uri) const;

private:
    struct World;
    std::unique_ptr<World> world_;
};
