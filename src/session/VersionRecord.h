#pragma once

#include <QString>

namespace session {

// The program's version record: what the presentation window and the About window show.
// It is kept here, in one place, and nowhere else.
struct VersionRecord {
    QString title;           // the program's title, also the title of untitled boxes
    int major;
    int minor;
    int revision;
    QString companyName;
    QString legalCopyright;
    QString comments;

    // "1.0.0": major, minor and revision joined by ".".
    QString versionText() const;
};

const VersionRecord &versionRecord();

}  // namespace session
