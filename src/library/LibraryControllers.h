#pragma once

class ArrayController;
class LibraryFilter;
class ObjectContext;
class ProjectKind;

// The library as the window's controllers see it: the context, the three array controllers
// (all setlists, all songs, the current setlist's songs), the song list's filter and what
// counts as a song's project. All live as long as the application controller that owns them.
struct LibraryControllers {
    ObjectContext* context = nullptr;
    ArrayController* allSetlists = nullptr;
    ArrayController* allSongs = nullptr;
    ArrayController* currentSetlist = nullptr;
    LibraryFilter* filter = nullptr;
    const ProjectKind* projectKind = nullptr; // none: Logic projects
};
