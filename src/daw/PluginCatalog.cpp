#include "daw/PluginCatalog.h"

#include <QDir>
#include <QUrl>

#include <lilv/lilv.h>

struct PluginCatalog::World {
    struct Free {
        void operator()(LilvWorld* w) const { lilv_world_free(w); }
    };
    std::unique_ptr<LilvWorld, Free> world{lilv_world_new()};
};

PluginCatalog::PluginCatalog() : world_(std::make_unique<World>()) {
    LilvWorld* w = world_->world.get();
    if (!w) return;
    lilv_world_load_all(w);
    // Ardour also plays the plugins it brings along, outside the LV2 path.
    const QDir bundled(QStringLiteral("/usr/lib/ardour7/LV2"));
    for (const QString& bundle : bundled.entryList({"*.lv2"}, QDir::Dirs)) {
        const QByteArray uri = QUrl::fromLocalFile(bundled.filePath(bundle) + "/").toEncoded();
        LilvNode* node = lilv_new_uri(w, uri.constData());
        lilv_world_load_bundle(w, node);
        lilv_node_free(node);
    }
}

PluginCatalog::~PluginCatalog() = default;

bool PluginCatalog::hasLv2(const QString& uri) const {
    LilvWorld* w = world_->world.get();
    if (!w) return false;
    LilvNode* node = lilv_new_uri(w, uri.toUtf8().constData());
    const bool found = node && lilv_plugins_get_by_uri(lilv_world_get_all_plugins(w), node);
    lilv_node_free(node);
    return found;
}
