#pragma once

// Every error domain of the system with its named codes. Domains whose codes are numbers of another
// system (errno, a tool's exit status, Qt's file and process errors) name no codes of their own.
namespace tidyreel {

/// "Processing": the pipeline runner.
namespace ProcessingError {
inline constexpr const char* domain = "Processing";
inline constexpr int noOutputFolder = 1;      ///< a run was started without an output folder
inline constexpr int unexpectedFailure = 2;   ///< a failure of no domain of ours (e.g. out of memory)
inline constexpr int incompleteArchive = 3;   ///< an archive run could not put every source into the bundle
inline constexpr int archiveCheckFailed = 4;  ///< the written archive bundle failed its own check
inline constexpr int outputInsideSource = 5;  ///< the output folder lies inside the source bundle
inline constexpr int cancelled = 6;           ///< the run was stopped on request
}  // namespace ProcessingError

/// "StreamCopy": cutting a source without re-encoding it.
namespace StreamCopyError {
inline constexpr const char* domain = "StreamCopy";
inline constexpr int unsuitable = 1;        ///< the source cannot be cut this way; it is re-encoded instead
inline constexpr int picturesDiffer = 2;    ///< the written file does not show the source's pictures
inline constexpr int joinNotDecodable = 3;  ///< the written file does not decode cleanly across a join
}  // namespace StreamCopyError

/// "XMLParser": reading an FCPXML document.
namespace XmlParserError {
inline constexpr const char* domain = "XMLParser";
inline constexpr int notWellFormed = 1;  ///< the bytes are not well-formed XML
inline constexpr int tooLarge = 2;       ///< the document is larger than the parser can take
}  // namespace XmlParserError

/// "FCPXML": a well-formed document that is no project Tidyreel reads.
namespace FcpxmlError {
inline constexpr const char* domain = "FCPXML";
inline constexpr int notFcpxml = 1;           ///< the root is not `<fcpxml>` with a `version`
inline constexpr int unsupportedVersion = 2;  ///< a version outside the range Tidyreel reads
}  // namespace FcpxmlError

/// "XPath": a query over a parsed document.
namespace XPathError {
inline constexpr const char* domain = "XPath";
inline constexpr int malformedExpression = 1;  ///< the expression does not compile or select nodes
}  // namespace XPathError

/// "Time": arithmetic on exact time values.
namespace TimeError {
inline constexpr const char* domain = "Time";
inline constexpr int overflow = 1;      ///< a result does not fit into 64 bits
inline constexpr int invalidValue = 2;  ///< division by zero, a zero denominator or a bad bound
}  // namespace TimeError

/// "FileSystem": reading, writing and creating files and folders; the code is the system's errno or
/// Qt's file error.
namespace FileSystemError {
inline constexpr const char* domain = "FileSystem";
}  // namespace FileSystemError

/// "Process": starting an external program; the code is Qt's process error.
namespace ProcessError {
inline constexpr const char* domain = "Process";
}  // namespace ProcessError

/// "Settings": the settings store; the code is Qt's settings status.
namespace SettingsError {
inline constexpr const char* domain = "Settings";
}  // namespace SettingsError

/// "Bookmark": a remembered folder; codes other than these are the system's errno.
namespace BookmarkError {
inline constexpr const char* domain = "Bookmark";
inline constexpr int unreadableData = 1;  ///< the remembered data cannot be decoded
}  // namespace BookmarkError

/// "FCPXMLRoleParser": role discovery.
namespace RoleParserError {
inline constexpr const char* domain = "FCPXMLRoleParser";
inline constexpr int noRootElement = 1;  ///< the document has no root element
}  // namespace RoleParserError

/// "FCPXMLEffectInjector": adding effects to clips.
namespace EffectInjectorError {
inline constexpr const char* domain = "FCPXMLEffectInjector";
inline constexpr int noRootElement = 1;  ///< the document has no root element
inline constexpr int noResources = 2;    ///< the document has no resources element
}  // namespace EffectInjectorError

/// "RoleEffectMapping": the remembered role effects file.
namespace RoleEffectMappingError {
inline constexpr const char* domain = "RoleEffectMapping";
inline constexpr int malformedFile = 1;  ///< the stored file cannot be read back
inline constexpr int notEncodable = 2;   ///< the mappings cannot be written as JSON
}  // namespace RoleEffectMappingError

/// "EffectPresetParser.ParseError": reading an effect file; the code is the parse error's kind.
namespace EffectPresetError {
inline constexpr const char* domain = "EffectPresetParser.ParseError";
}  // namespace EffectPresetError

/// "TemplateInstaller.InstallationError": installing the title templates; the code is the way the
/// installation ended early.
namespace TemplateInstallerError {
inline constexpr const char* domain = "TemplateInstaller.InstallationError";
}  // namespace TemplateInstallerError

/// "DefaultEffectInstaller.InstallError": installing the default effect; the code is the way the
/// installation ended early.
namespace DefaultEffectInstallerError {
inline constexpr const char* domain = "DefaultEffectInstaller.InstallError";
}  // namespace DefaultEffectInstallerError

/// "ChapterMarker": reading chapter markers.
namespace ChapterMarkerError {
inline constexpr const char* domain = "ChapterMarker";
inline constexpr int unrepresentablePosition = 1;  ///< a marker's position has no exact value
}  // namespace ChapterMarkerError

/// "ProbeError": reading a media file's facts with ffprobe.
namespace MediaProbeError {
inline constexpr const char* domain = "ProbeError";
inline constexpr int failed = 1;  ///< ffprobe failed or its answer lacks what is needed
}  // namespace MediaProbeError

/// "ffmpeg": cutting media; other codes are ffmpeg's exit status.
namespace FfmpegError {
inline constexpr const char* domain = "ffmpeg";
inline constexpr int notFound = -1;  ///< no ffmpeg executable was found
}  // namespace FfmpegError

/// "Trim": checking a cut before it takes its final name.
namespace TrimError {
inline constexpr const char* domain = "Trim";
inline constexpr int emptyFile = 1;   ///< the cut holds no bytes
inline constexpr int tooShort = 2;    ///< the cut is shorter than planned (a stopped encode)
inline constexpr int frameCount = 3;  ///< the cut holds another number of frames than planned
}  // namespace TrimError

/// "cp": copying media whole; other codes are cp's exit status.
namespace CopyError {
inline constexpr const char* domain = "cp";
inline constexpr int incomplete = 1;  ///< the copy holds fewer bytes than its source
}  // namespace CopyError

/// "Source": a source media file the run reads.
namespace SourceError {
inline constexpr const char* domain = "Source";
inline constexpr int notRegularFile = 1;  ///< a folder, device or pipe in place of a media file
}  // namespace SourceError

/// "FallbackValidation": checking a whole-file copy made after a failed cut.
namespace FallbackValidationError {
inline constexpr const char* domain = "FallbackValidation";
inline constexpr int notRegularFile = 1;  ///< the target is a link or another kind of file
inline constexpr int emptyFile = 2;       ///< the target holds no bytes
}  // namespace FallbackValidationError

}  // namespace tidyreel
