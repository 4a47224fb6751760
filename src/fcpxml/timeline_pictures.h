#pragma once

#include "fcpxml/resource_index.h"
#include "fcpxml/xml.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tidyreel {

/// One picture a project holds: the story element that shows it, which is where its video effect
/// belongs, and the main video role of what it shows.
struct Picture {
    XmlElement clip;          ///< asset-clip, video, clip, sync-clip, ref-clip or mc-clip
    std::string role;         ///< main video role of the picture
    bool inTimeline = false;  ///< shown by a project's timeline (not the browser or a definition)
};

/// How many pictures of one role the timelines show, and how many more lie elsewhere.
struct PictureCount {
    int inTimeline = 0;  ///< pictures grading changes
    int elsewhere = 0;   ///< in the browser or inside compound and multicam definitions
};

/// Finds the pictures of a document. A clip container (clip, sync-clip) shows the picture of its
/// primary component and counts once; a compound clip shows its storyline's first picture, a multicam
/// clip the picture of its active video angle. Sound, gaps and titles are no pictures.
class PictureFinder {
public:
    /// Indexes the document's resources; the document must outlive the finder.
    explicit PictureFinder(const XmlDocument& document);

    /// Every picture of the document, in document order, each once.
    std::vector<Picture> pictures() const;
    /// The main video role of what `element` shows; no value when it shows no picture.
    std::optional<std::string> pictureRole(XmlElement element) const;

    /// The `mc-source` of a multicam clip that supplies its picture, or null when none does.
    static XmlElement videoSource(XmlElement mcClip);
    /// The angle a multicam clip shows: its video source's angle, else the multicam's first angle;
    /// empty when the multicam cannot be found.
    std::string activeVideoAngle(XmlElement mcClip) const;

private:
    std::vector<XmlElement> primaryChain(XmlElement container) const;
    std::optional<std::string> storylineRole(XmlElement storyline) const;
    std::optional<std::string> compoundRole(XmlElement refClip) const;
    std::optional<std::string> multicamRole(XmlElement mcClip) const;
    XmlElement multicamAngle(XmlElement mcClip, const std::string& angleID) const;

    const XmlDocument& document_;
    ResourceIndex resources_;
    /// Roles of compound storylines and multicam angles, worked out once each ("" while being worked
    /// out, so that a definition using itself ends instead of looping).
    mutable std::unordered_map<std::string, std::optional<std::string>> definitionRoles_;
};

/// Pictures per main role, over the whole document, sorted by role name.
std::map<std::string, PictureCount> countPictures(const std::vector<Picture>& pictures);

}  // namespace tidyreel
