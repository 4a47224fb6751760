// The texts of the four information pop-ups, in both languages.
#include "ui/info_popup.h"
#include "ui/ui_support.h"

namespace tidyreel::ui {

using Style = PopupSection::Style;

PopupContent rolesInfoContent() {
    return {
        tr2("Effekte pro Video-Rolle", "Effects per Video Role"),
        tr2("Weise Final Cut Pro Effekte basierend auf Video-Rollen zu – ohne jeden Clip einzeln bearbeiten "
            "zu "
            "müssen.",
            "Assign Final Cut Pro effects based on video roles – without having to edit each clip "
            "individually."),
        {{tr2("FUNKTION", "HOW IT WORKS"),
          {tr2("Die App liest Deine Video-Rollen ein", "The app reads your video roles"),
           tr2("Du ziehst einen Effekt \".moef\" auf eine Rolle [presets funktionieren nicht!]",
               "You drag a \".moef\" effect onto a role [presets don't work!]"),
           tr2("Beim Export wird der Effekt auf ALLE Clips dieser Rolle angewendet",
               "On export, the effect is applied to ALL clips of that role"),
           tr2("Die Zuordnung wird gespeichert", "The app remembers your assignment")},
          Style::numbered},
         {tr2("BEISPIEL", "EXAMPLE"),
          {tr2("Du hast 50 GoPro-Clips, die alle das gleiche Color Grading brauchen? Ziehe den Effekt einmal "
               "auf die "
               "Rolle \"GoPro\" – fertig!",
               "You have 50 GoPro clips that all need the same color grading? Drag the effect once onto the "
               "\"GoPro\" role – done!")},
          Style::paragraph}},
        tr2("Hinweis: Die Effekte werden in die FCPXML geschrieben. Wenn du das Projekt in Final Cut Pro "
            "öffnest, "
            "sind alle Effekte bereits zugewiesen.",
            "Note: The effects are written into the FCPXML. When you open the project in Final Cut Pro, all "
            "effects are already assigned.")};
}

PopupContent videoDescriptionInfoContent() {
    return {
        tr2("YouTube-Videobeschreibung", "YouTube Video Description"),
        tr2("Generiert eine formatierte Textdatei mit Kapitelmarkern und/oder zweisprachiger "
            "Videobeschreibung.",
            "Generates a formatted text file with chapter markers and/or bilingual video description."),
        {{tr2("FUNKTION KAPITELMARKER", "CHAPTER MARKERS FUNCTION"),
          {tr2("Die App liest alle Kapitelmarker aus deiner FCPXML-Datei",
               "The app reads all chapter markers from your FCPXML file"),
           tr2("Du erhältst eine strukturierte Liste mit Timestamps und Kapitel-Namen",
               "You get a structured list with timestamps and chapter names"),
           tr2("Diese Zeitstempel können direkt in YouTube, Podcast-Apps oder andere Plattformen kopiert "
               "werden",
               "These timestamps can be copied directly into YouTube, podcast apps or other platforms")}},
         {tr2("FUNKTION VIDEOBESCHREIBUNG", "VIDEO DESCRIPTION FUNCTION"),
          {tr2("Hinterlege deinen Standard-Beschreibungstext in 2 Sprachen unter → Einstellungen",
               "Store your standard description text in 2 languages under → Settings"),
           tr2("Installiere die Titel QUILLT1 & 2 unter → Einstellungen",
               "Install the QUILLT1 & 2 titles under → Settings"),
           tr2("Den/die Titel ziehst Du unter die Timeline. Die App erkennt sie und liest deren Textinhalt "
               "aus",
               "Drag the title(s) below the timeline. The app recognizes them and reads their text content"),
           tr2("Füge die individuelle Videobeschreibung als Text in 2 Sprachen in die Titel ein",
               "Add your individual video description as text in 2 languages into the titles"),
           tr2("Du kannst auch nur eine Sprache nutzen → nutze dann YouTube Beschreibung 1 und QUILLT1",
               "You can also use just one language → in that case use YouTube Description 1 and QUILLT1"),
           tr2("Die App liest den Text aus QUILLT1 / QUILLT2 und exportiert eine/zwei .txt-Datei(en) — "
               "fertig ist "
               "die YouTube-Videobeschreibung",
               "The app reads the text from QUILLT1 / QUILLT2 and exports one/two .txt file(s) — your "
               "YouTube "
               "video description is ready")}},
         {tr2("BEIDE FUNKTIONEN AUSGEWÄHLT", "BOTH FUNCTIONS SELECTED"),
          {tr2("Wenn die Funktion Kapitel und Videobeschreibung aktiviert ist, fügt die App sogar zwischen "
               "beide "
               "Texte automatisch eine Kapitel-Liste mit Timestamps ein",
               "If both the CHAPTERS and Video Description functions are activated, the app automatically "
               "inserts a chapter list with timestamps between the two text blocks")}},
         {tr2("BEISPIEL-AUSGABE", "EXAMPLE OUTPUT"),
          {tr2("🎬 Willkommen zu meinem Video über..\n\nKapitel:\n00:00 Intro\n02:30 Hauptteil\n05:45 "
               "Making-Of\n08:20 Outro\n\n🌍 Mehr Infos auf meiner Website...",
               "🎬 Welcome to my video about..\n\nChapters:\n00:00 Intro\n02:30 Main part\n05:45 "
               "Making-Of\n08:20 "
               "Outro\n\n🌍 More info on my website...")},
          Style::sample}},
        {}};
}

PopupContent clipTrimmingInfoContent() {
    return {tr2("Clips trimmen", "Trim Clips"),
            tr2("Diese Funktion analysiert deine FCPXML-Datei und schneidet ungenutzte Teile aus den "
                "Videodateien "
                "heraus.",
                "This feature analyzes your FCPXML file and trims unused portions from the video files."),
            {{tr2("ARBEITSWEISE", "HOW IT WORKS"),
              {tr2("Identifikation der verwendeten Sequenzen", "Identifies the sequences used"),
               tr2("Ungenutzte Bereiche werden entfernt", "Unused sections are removed"),
               tr2("Weniger Speicherbedarf, schnelleres Rendern in FCPX",
                   "Reduced storage requirements, faster rendering in FCPX")}},
             {tr2("PARAMETER", "PARAMETERS"),
              {tr2("Puffer: Wie viele Sekunden davor/danach zusätzlich behalten werden.",
                   "Trim handles: How many additional seconds to keep before and after."),
               tr2("Min. Segment: Mindestlänge des Originalclips, damit er überhaupt getrimmt wird. Ist der "
                   "Originalclip kürzer als dieser Wert, bleibt er unverändert. Schützt kurze Clips vor "
                   "unnötigem "
                   "Re-Encoding.",
                   "Min. Segment: The minimum length of the original clip required for it to be trimmed at "
                   "all. If "
                   "the original clip is shorter than this value, it remains unchanged. This prevents short "
                   "clips "
                   "from being unnecessarily re-encoded.")}}},
            tr2("Beachte: Proxy Dateien werden weder bearbeitet noch ins neue Projekt kopiert.",
                "Note: Proxy files are neither edited nor copied to the new project.")};
}

PopupContent limitationsContent() {
    return {
        tr2("Einschränkungen der Trim-Funktion", "Trim Function Limitations"),
        tr2("Die Funktion arbeitet mit Re-Encoding und hat strukturelle Eigenschaften, die du kennen "
            "solltest:",
            "The function works with re-encoding and has structural properties you should know:"),
        {{tr2("FRAME-DRIFT", "FRAME DRIFT"),
          {tr2("Bei Long-GOP-Material (H.264/HEVC) kann an Schnittpunkten ein Versatz von 1-3 Frames "
               "auftreten. "
               "Dies ist eine technische Eigenschaft moderner Video-Codecs. Trim-Handles von 5 Sekunden "
               "machen den "
               "Versatz in der Timeline unsichtbar.",
               "With Long-GOP material (H.264/HEVC), an offset of 1-3 frames can occur at cut points. This "
               "is a "
               "technical property of modern video codecs. Trim handles of 5 seconds make the offset "
               "invisible in "
               "the timeline.")},
          Style::paragraph},
         {"AUDIO",
          {tr2("Audio-Spuren werden nicht getrimmt, sondern 1:1 kopiert. Multi-Spur-Audio bleibt "
               "unangetastet. "
               "Anhören kritischer Audio-Schnitte vor finalem Export wird empfohlen.",
               "Audio tracks are not trimmed but copied 1:1. Multi-track audio remains untouched. Listening "
               "to "
               "critical audio cuts before final export is recommended.")},
          Style::paragraph},
         {tr2("NICHT BEARBEITET WERDEN", "NOT TOUCHED"),
          {"Compound Clips", tr2("Multicam-Clips", "Multicam Clips"), "Image Sequences",
           tr2("Audio-Files (mp3, wav, caf, m4a)", "Audio files (mp3, wav, caf, m4a)"),
           tr2("Bilder, Grafiken, FCP-Generatoren", "Images, graphics, FCP generators")}},
         {tr2("MATERIAL IM BYPASS-MODUS (volle Datei kopiert)", "MATERIAL IN BYPASS MODE (full file copied)"),
          {"ProRes RAW, BRAW, R3D, ARRIRAW", tr2("CinemaDNG, DNG-Sequenzen", "CinemaDNG, DNG sequences"),
           tr2("Sony XAVC mit PCM-Audio", "Sony XAVC with PCM audio"),
           tr2("Material mit unbekanntem Codec", "Material with unknown codec"),
           tr2("Clips mit Speed-Ramps oder Frame-Hold", "Clips with speed ramps or frame hold"),
           tr2("Clips mit J-Cut/L-Cut + Transitions", "Clips with J-Cut/L-Cut + Transitions"),
           tr2("Material mit Verwendungsquote > 70%", "Material with usage rate > 70%")}},
         {tr2("EMPFOHLENER WORKFLOW", "RECOMMENDED WORKFLOW"),
          {tr2("1. FCPXML aus FCP exportieren", "1. Export FCPXML from FCP"),
           tr2("2. App ausführen (Archivierung)", "2. Run app (Archiving)"),
           tr2("3. Neues Projekt in FCP importieren", "3. Import new project into FCP"),
           tr2("4. Original aufbewahren bis verifiziert", "4. Keep original until verified"),
           tr2("5. Erst nach Verifikation Original archivieren",
               "5. Archive original only after verification")},
          Style::paragraph}},
        {}};
}

}  // namespace tidyreel::ui
