<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="open-error">
        <source>“%1” could not be opened.

%2</source>
        <extracomment>%1 is the name of a file, %2 the reason</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-new">
        <source>Open a new, empty document as well.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-help">
        <source>Print this text and exit.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-version">
        <source>Print the version and exit.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-man">
        <source>Print the manual page and exit.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-introduction">
        <source>Opens sound files in the editor, each in a window of its own. When Velloria is already running on this desktop, its windows open there.</source>
        <oldsource>Opens sound files in the editor, each in a window of its own. When Velloria is already running on
</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-unknown">
        <source>Unknown option: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-usage">
        <source>Usage: velloria [OPTION...] [FILE...]</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-name">
        <source>edit sound recordings</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="command-line-status">
        <source>0 when the program ran or handed its files to the one that is running, 2 when an option is unknown.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="tool-bar">
        <source>Tool Bar</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-format-text">
        <source>%1 Hz  ·  %2 bit  ·  %3</source>
        <extracomment>The format of a sound: sample rate, bits a sample, channels (&quot;Stereo&quot;)</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-reading">
        <source>Reading waveform %1 %</source>
        <extracomment>What is going on; %1 is a number of percent</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="close-question">
        <source>Save the changes to “%1” before closing?</source>
        <extracomment>%1 is the name of a document</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="close-detail">
        <source>If you do not save, your changes are lost.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save">
        <source>Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="discard">
        <source>Discard</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="cancel">
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-edit">
        <source>&amp;Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-preferences">
        <source>Pre&amp;ferences…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-undo">
        <source>&amp;Undo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-redo">
        <source>&amp;Redo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-history">
        <source>Undo &amp;History</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-cut">
        <source>Cu&amp;t</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-copy">
        <source>&amp;Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-paste">
        <source>&amp;Paste</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-delete">
        <source>&amp;Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-clear">
        <source>C&amp;lear</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-clear-tip">
        <source>Makes the selection silent</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-crop">
        <source>Cr&amp;op</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-crop-tip">
        <source>Removes everything but the selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-select-all">
        <source>Select &amp;All</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-select-none">
        <source>Select &amp;None</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-select-tracks">
        <source>Select Trac&amp;ks</source>
        <oldsource>Select &amp;Tracks</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-insert-marker">
        <source>Insert &amp;Marker</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-delete-markers">
        <source>&amp;Delete All Markers</source>
        <oldsource>Delete All Markers</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-all-tracks">
        <source>All Tracks</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-undo-step">
        <source>&amp;Undo %1</source>
        <extracomment>%1 is the name of a step</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-redo-step">
        <source>&amp;Redo %1</source>
        <extracomment>%1 is the name of a step</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-effects">
        <source>Effe&amp;cts</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effects-last">
        <source>&amp;Last Filter</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-defaults">
        <source>Defaults</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="ok">
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="open-filter-sound">
        <source>Sound files (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="open-filter-all">
        <source>All files (*)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-file">
        <source>&amp;File</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-close">
        <source>&amp;Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-quit">
        <source>&amp;Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-new">
        <source>&amp;New</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-open">
        <source>&amp;Open…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-recent">
        <source>Open &amp;Recent</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-save">
        <source>&amp;Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-save-as">
        <source>Save &amp;As…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-save-selection">
        <source>Save Se&amp;lection As…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-revert">
        <source>Re&amp;vert to Saved</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-recent-clear">
        <source>Clear List</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="open-title">
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="revert-question">
        <source>Go back to the saved version of “%1”?</source>
        <extracomment>%1 is the name of a document</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="revert-detail">
        <source>All changes since then are lost, and so is the undo history.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="revert">
        <source>Revert</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-window">
        <source>&amp;Window</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-help">
        <source>&amp;Help</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-shortcuts">
        <source>&amp;Keyboard and Mouse</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-about">
        <source>&amp;About Velloria</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="about-title">
        <source>About Velloria</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="about-version">
        <source>&lt;b&gt;Velloria %1&lt;/b&gt;</source>
        <extracomment>%1 is a version number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="about-text">
        <source>An audio editor for recordings.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="history">
        <source>Undo History</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="history-original">
        <source>Original</source>
        <extracomment>The first line of the undo history</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="level-scale-name">
        <source>Level scale</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="level-scale-tip">
        <source>Right-click for the unit</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-lane-name">
        <source>Markers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-tip">
        <source>%1 at %2</source>
        <extracomment>A marker&apos;s tool tip: its name and its time</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="opening">
        <source>Opening “%1”</source>
        <extracomment>%1 is the name of a file</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="opening-bar">
        <source>Opening</source>
        <extracomment>A file is being opened; shown beside a progress bar</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="overview-name">
        <source>Overview</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-reset-one">
        <source>Back to the default</source>
        <extracomment>Tool tip and accessible name of a button beside a parameter</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-title">
        <source>Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-new">
        <source>New documents</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-hertz">
        <source>%1 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-rate">
        <source>Sample rate:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-bits">
        <source>%1 bit</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-size">
        <source>Sample size:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-view">
        <source>View</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-appearance">
        <source>Appearance:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="appearance-system">
        <source>As the desktop</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="appearance-light">
        <source>Light</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="appearance-dark">
        <source>Dark</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-units">
        <source>Ruler units:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-scale">
        <source>Level scale:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-scale-decibels">
        <source>Decibels</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-scale-linear">
        <source>From −1 to 1</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-zoom-fit">
        <source>Whole document</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-zoom">
        <source>%1 samples per pixel</source>
        <extracomment>%1 is a number, more than one</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-default-zoom">
        <source>Default zoom:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-selecting">
        <source>Selecting</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-snap">
        <source>Snap to:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-snap-markers">
        <source>Markers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-snap-zero">
        <source>Zero Crossings</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="progress-minute">
        <source>1 minute</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="progress-minutes">
        <source>%1 minutes</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="progress-second">
        <source>1 second</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="progress-seconds">
        <source>%1 seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="progress-left">
        <source>About %1 left</source>
        <extracomment>%1 is a time such as &quot;12 seconds&quot;</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="progress-cancelling">
        <source>Cancelling…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="RECOVER_TITLE">
        <source>Velloria did not end properly last time</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="RECOVER_TEXT">
        <source>This sound was not saved. Listen to it, and open what you need. What is still listed when you close this window is kept, and offered again the next time Velloria starts.</source>
        <oldsource>Sound that was recorded or computed then is still in the folder for temporary files. Open shows it in windows of its own, to be saved. You can also rescue it by hand: these are ordinary CAF sound files. They are removed when you quit Velloria.</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="RECOVER_OK">
        <source>Show Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="RECOVER_CANCEL">
        <source>Keep for Later</source>
        <oldsource>Not Now</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-seconds">
        <source>Seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-samples">
        <source>Samples</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-frames-30">
        <source>Time and Frames, 30 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-frames-25">
        <source>Time and Frames, 25 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-frames-24">
        <source>Time and Frames, 24 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-feet">
        <source>Feet and Frames</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-film">
        <source>Film Frames, 24 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-minutes">
        <source>Minutes and Seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-seconds-short">
        <source>s</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-samples-short">
        <source>samples</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-frames-30-short">
        <source>30 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-frames-25-short">
        <source>25 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-frames-24-short">
        <source>24 fps</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-feet-short">
        <source>feet</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-film-short">
        <source>film frames</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="units-minutes-short">
        <source>min:s</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="ruler-name">
        <source>Time ruler</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="ruler-tip">
        <source>Click to place the insertion point; right-click for the units</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-selection-title">
        <source>Save Selection As</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-as-title">
        <source>Save As</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-type">
        <source>File type:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-size">
        <source>About %1</source>
        <extracomment>How large a file will be, %1 is &quot;12.3 MB&quot;</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-drag">
        <source>Drag</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-drag-text">
        <source>Select on all tracks</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-edge-drag">
        <source>Drag from the upper or lower edge of a track, or with Alt</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-edge-drag-text">
        <source>Select on this track only</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-shift-click">
        <source>Shift+Click, Shift+Drag, drag an edge of the selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-shift-click-text">
        <source>Extend or shorten the selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-ctrl-drag">
        <source>Ctrl while dragging</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-ctrl-drag-text">
        <source>Do not snap</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-double-click">
        <source>Double-click</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-double-click-text">
        <source>Select everything</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-wheel">
        <source>Wheel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-wheel-text">
        <source>Scroll</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-ctrl-wheel">
        <source>Ctrl+Wheel, pinch</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-ctrl-wheel-text">
        <source>Zoom around the pointer</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-arrows">
        <source>Left, Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-arrows-text">
        <source>Move the cue by a pixel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-ctrl-arrows">
        <source>Ctrl+Left, Ctrl+Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-ctrl-arrows-text">
        <source>Move the cue to the next marker or edge of the selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-home">
        <source>Home, End</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-home-text">
        <source>Move the cue to the beginning, to the end</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-shift-keys">
        <source>Shift with these keys</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-shift-keys-text">
        <source>Change the selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-page">
        <source>Page Up, Page Down</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-page-text">
        <source>Scroll by a page</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-mouse">
        <source>Mouse in the waveform</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-keys">
        <source>Keys in the waveform</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="help-title">
        <source>Keyboard and Mouse</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-units-tip">
        <source>Units of the ruler and the times</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-selection">
        <source>Selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-length">
        <source>Length</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-format">
        <source>Format of the sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="status-no-selection">
        <source>none</source>
        <extracomment>Shown in place of the selection&apos;s times when nothing is selected</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="track-left">
        <source>Left Channel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="track-right">
        <source>Right Channel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="track-number">
        <source>Track %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="track-left-letter">
        <source>L</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="track-right-letter">
        <source>R</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="channels-mono">
        <source>Mono</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="channels-stereo">
        <source>Stereo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="channels-many">
        <source>%1 channels</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-view">
        <source>&amp;View</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-zoom-in">
        <source>Zoom &amp;In</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-zoom-out">
        <source>Zoom &amp;Out</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-fit">
        <source>&amp;Fit in Window</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-zoom-selection">
        <source>Zoom to &amp;Selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-previous-zoom">
        <source>&amp;Previous Zoom</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-default-zoom">
        <source>&amp;Default Zoom</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-zoom-to">
        <source>Pi&amp;xels to Samples</source>
        <oldsource>Samples per Pi&amp;xel</oldsource>
        <extracomment>Its items are &quot;1 : 1&quot;, &quot;1 : 8&quot; and so on</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-centre-start">
        <source>Centre on Selection S&amp;tart</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-centre-end">
        <source>Centre on Selection E&amp;nd</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-units">
        <source>&amp;Ruler Units</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-scale">
        <source>&amp;Level Scale</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-snap">
        <source>Sn&amp;ap to</source>
        <oldsource>S&amp;nap to</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-show-overview">
        <source>Show O&amp;verview</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-show-markers">
        <source>Show &amp;Markers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-show-loudness">
        <source>S&amp;how Loudness</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-full-screen">
        <source>F&amp;ull Screen</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="waveform-hint-edge">
        <source>Drag to move this edge of the selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="waveform-hint-track">
        <source>Drag to select on %1 only</source>
        <extracomment>%1 is the name of a track</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="scroll-bar-name">
        <source>Scroll position</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="waveform-name">
        <source>Waveform</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="waveform-description">
        <source>Drag to select. Arrow keys move the insertion point, with Shift they change the selection.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="waveform-empty">
        <source>Drop a sound file here, or choose File &gt; Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-anyway">
        <source>Save Anyway</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-slider-name">
        <source>Zoom</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-mix-paste">
        <source>Mi&amp;x Paste…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-select-to-start">
        <source>Select to Start</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="edit-select-to-end">
        <source>Select to End</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="suffix-decibels">
        <source> dB</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-rate">
        <source>Sample rate (Hz):</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-silence">
        <source>Insert Silence</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-insert">
        <source>Insert</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-length">
        <source>Length:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-silence-note">
        <source>At the start of the selection, on its tracks. What follows moves back.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix">
        <source>Mix Paste</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix-ok">
        <source>Mix</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix-existing">
        <source>Existing sound:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix-pasted">
        <source>Pasted sound:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix-all">
        <source>From the selection’s start on, all that was copied</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix-into">
        <source>Into the selection only</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-mix-where">
        <source>Paste:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-resample">
        <source>Change Sample Rate</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-convert">
        <source>Convert</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-duration">
        <source>Duration:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-resample-note">
        <source>The sound is converted. Another duration changes its pitch.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-properties">
        <source>Document Properties</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-apply">
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-properties-note">
        <source>Another rate plays the same samples faster or slower; no sample changes. The sample size is what the next save writes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sheet-grid">
        <source>Grid</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="grid-seconds">
        <source>Seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="grid-samples">
        <source>Samples</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="grid-tempo">
        <source>Beats per minute</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="grid-spacing">
        <source>Spacing:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="grid-offset">
        <source>Offset:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-markers">
        <source>&amp;Markers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-split">
        <source>&amp;Split at Markers…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-gaps">
        <source>Insert Markers at &amp;Loud Passages</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-gridlines">
        <source>Insert Markers at &amp;Grid Lines</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-previous">
        <source>&amp;Previous Marker</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-next">
        <source>&amp;Next Marker</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-lock">
        <source>Loc&amp;k Markers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-snap-grid">
        <source>Snap to G&amp;rid</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-show-grid">
        <source>Show Gr&amp;id</source>
        <oldsource>Show Gri&amp;d</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-grid-settings">
        <source>Grid S&amp;ettings…</source>
        <oldsource>Grid Settin&amp;gs…</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-rename">
        <source>Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-delete">
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-list">
        <source>Marker List</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-list-delete">
        <source>Delete Markers</source>
        <extracomment>The name of an undo step</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-list-time">
        <source>Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="marker-list-name">
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-sound">
        <source>&amp;Sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-silence">
        <source>Insert &amp;Silence…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-add-track">
        <source>&amp;Add Track</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-remove-tracks">
        <source>&amp;Remove Selected Tracks</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-mono">
        <source>Mix Down to &amp;Mono</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-stereo">
        <source>Mix Down to S&amp;tereo</source>
        <oldsource>Mix Down to &amp;Stereo</oldsource>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-resample">
        <source>&amp;Change Sample Rate…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="sound-properties">
        <source>Document &amp;Properties…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-title">
        <source>Split at Markers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-ok">
        <source>Split</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-prefix">
        <source>Put the track number before each name</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-note">
        <source>Files to be written, named after the markers: %1</source>
        <extracomment>%1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-artist">
        <source>Artist:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-album-artist">
        <source>Album artist:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-album">
        <source>Album:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-grouping">
        <source>Grouping:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-composer">
        <source>Composer:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-format">
        <source>Format:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-option">
        <source>Option:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-choose">
        <source>Choose…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-folder">
        <source>Folder:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="time-field-tip">
        <source>In the ruler&apos;s units, or with a unit behind the number: 1.5 s, 250 ms, 2 min, 44100 samples</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="playback-failed">
        <source>The sound cannot be played. %1</source>
        <extracomment>%1 says why</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="playback-server-lost">
        <source>The sound server went away. Playback is paused.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="playback-device-lost">
        <source>The output device went away. Playback is paused.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="message-close">
        <source>Close this message</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-name">
        <source>Loudness of what plays</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-tip">
        <source>Loudness of what plays: of 0.4 s, of 3 s, and since playing began. Click to begin anew.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-values">
        <source>Momentary %1, short-term %2, integrated %3 LUFS</source>
        <extracomment>%1, %2 and %3 are numbers, or dashes</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-unit">
        <source>LUFS</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-momentary">
        <source>M</source>
        <extracomment>The momentary loudness; a letter</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-short">
        <source>S</source>
        <extracomment>The short-term loudness; a letter</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="loudness-integrated">
        <source>I</source>
        <extracomment>The integrated loudness; a letter</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="output-level">
        <source>Output level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="output-level-tip">
        <source>Output level: %1 dB (a double-click sets 0)</source>
        <extracomment>Tool tip; %1 is a number of decibels</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="cue-readout">
        <source>Time of the cue</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-transport">
        <source>&amp;Transport</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-play">
        <source>&amp;Play</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-pause">
        <source>Pa&amp;use</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-stop">
        <source>&amp;Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-loop">
        <source>&amp;Loop</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-return-to-zero">
        <source>Return to &amp;Zero</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-rewind">
        <source>Re&amp;wind</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-forward">
        <source>Fast &amp;Forward</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-speed">
        <source>Sp&amp;eed</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-percent">
        <source>%1 %</source>
        <extracomment>A speed; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-faster">
        <source>&amp;Faster</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-slower">
        <source>&amp;Slower</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-follow">
        <source>Follow the &amp;Cue</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-follow-smoothly">
        <source>Smoothly</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-follow-pages">
        <source>Page by Page</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-follow-never">
        <source>Not at All</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="output-meter-left">
        <source>Output level, left</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="output-meter-right">
        <source>Output level, right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-speed-tip">
        <source>Speed at which it plays, at the same pitch</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="level-decibels">
        <source>%1 dB</source>
        <extracomment>A level; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="meter-tip">
        <source>Click to put out the light that says that the level reached 0 dB</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-general">
        <source>General</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-sound">
        <source>Sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preview-device-lost">
        <source>The output device went away.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preview-play">
        <source>&amp;Preview</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preview-bypass">
        <source>&amp;Bypass</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preview-loop">
        <source>L&amp;oop</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preview-bypass-tip">
        <source>Hear the sound without the effect, as loud as with it (Ctrl+B)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preview-tip">
        <source>Hear the selection with the effect (Ctrl+Space)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-output-device">
        <source>Output device:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-left-channel">
        <source>Left channel:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-right-channel">
        <source>Right channel:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-default-device">
        <source>As the desktop</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-default-device-name">
        <source>As the desktop (%1)</source>
        <extracomment>%1 is the name of a device</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-missing-device">
        <source>%1 (not connected)</source>
        <extracomment>%1 is the identifier of a device that was chosen before</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-channel">
        <source>Channel %1</source>
        <extracomment>%1 is a number, from 1</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-title">
        <source>Automatic Recording</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-done">
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-start">
        <source>Begin at:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-stop">
        <source>End below:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-duration">
        <source>Wait before ending:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-recording">
        <source>Recording  ·  %1</source>
        <extracomment>%1 is a time</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="automatic-waiting">
        <source>Waiting for a sound that is loud enough  ·  %1</source>
        <extracomment>%1 is the time recorded so far</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-monitor">
        <source>Measure the input</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-playthrough">
        <source>Hear the input</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-title">
        <source>Input Levels</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-clip-tip">
        <source>The highest level so far; click to forget it</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-left">
        <source>Left</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-right">
        <source>Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-device">
        <source>Device:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-channels">
        <source>Left and right:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-gain">
        <source>Gain:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-playthrough-tip">
        <source>Beware of feedback where a microphone hears the loudspeakers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-default">
        <source>Default (%1)</source>
        <extracomment>%1 is the name of a device</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-no-device">
        <source>No input device</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-channel">
        <source>Channel %1</source>
        <extracomment>A channel of a device; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="levels-output-lost">
        <source>The output went away, so the input is not heard any more.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-record">
        <source>&amp;Record</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-automatic">
        <source>&amp;Automatic Recording…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-timer">
        <source>&amp;Timer Recording…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="transport-levels">
        <source>&amp;Input Levels…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="input-meter-left">
        <source>Input level, left</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="input-meter-right">
        <source>Input level, right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recording-history">
        <source>Levels of the last seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="inhibit-reason">
        <source>Recording sound</source>
        <extracomment>Why the machine does not go to sleep</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-title">
        <source>Timer Recording</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-ok">
        <source>Wait and Record</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-start">
        <source>Start:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-end">
        <source>End:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-minutes">
        <source> min.</source>
        <extracomment>Behind a number of minutes</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-duration">
        <source>Duration:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-note">
        <source>It is appended to the document. Velloria has to stay open until then, and the machine awake.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-range">
        <source>%1  –  %2,  %3</source>
        <extracomment>From one date to another, and how long that is</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-ends-in">
        <source>Recording ends in</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-begins-in">
        <source>Recording begins in</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="timer-stop">
        <source>Stop Recording</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recording-does-not-end">
        <source>The recording does not end: the sound server or the disk does not answer.

What was recorded is kept. Velloria offers it when it starts the next time.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="RECOVER_OPEN">
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-manager-title">
        <source>Folder of the Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-manager-none">
        <source>No file manager answers. The files are in this folder:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="file-manager-copy">
        <source>Copy Path</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-format">
        <source>%1, %2 Hz</source>
        <extracomment>The format of a sound: channels (&quot;Stereo&quot;), sample rate</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-sound">
        <source>Sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-length">
        <source>Length</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-time">
        <source>From</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-format-title">
        <source>Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-list">
        <source>Left-over sounds</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-computed">
        <source>What was computed for %1</source>
        <extracomment>%1 is the name of a document</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-window">
        <source>Recovered Sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-discard">
        <source>Discard…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-open-all">
        <source>Open All</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-many">
        <source>Open %1 windows?</source>
        <oldsource>Open %n window(s)?</oldsource>
        <extracomment>%1 is a number, more than one</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-discard-question">
        <source>Discard “%1” (%2)?</source>
        <extracomment>%1 is the name of a sound, %2 its length</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-discard-detail">
        <source>It cannot be brought back.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-place">
        <source>Place in the sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-pause">
        <source>Pause (Space)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-play">
        <source>Play (Space)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-one-sound">
        <source>1 sound</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="recovery-sounds">
        <source>%1 sounds</source>
        <extracomment>%1 is a number, more than one</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-rest-question">
        <source>Save a copy of what can still be read?</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-rest-detail">
        <source>%1 The document was not saved and stays as it is. In a copy there is silence where sound is missing.</source>
        <extracomment>%1 says which file was changed by another program</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="save-rest">
        <source>Save a Copy…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="split-question">
        <source>Split all the same?</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-microseconds">
        <source>%1 µs</source>
        <extracomment>A time; %1 is a number of microseconds</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-milliseconds">
        <source>%1 ms</source>
        <extracomment>A time; %1 is a number of milliseconds</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-seconds">
        <source>%1 s</source>
        <extracomment>A time; %1 is a number of seconds</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-minutes">
        <source>%1 min</source>
        <extracomment>A time; %1 is a number of minutes</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-ratio">
        <source>1 : %1</source>
        <extracomment>How close the view is: so many samples (%1) are one pixel</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-readout-name">
        <source>Zoom: %1</source>
        <extracomment>What a screen reader says of the button; %1 is &quot;1 : 512&quot;</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="zoom-readout-tip">
        <source>Pixels to samples: %1
One pixel: %2
What the window shows: %3</source>
        <extracomment>Tool tip; %1 is &quot;1 : 512&quot;, %2 and %3 are times (&quot;11.6 ms&quot;)</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-percent">
        <source>%1 %</source>
        <extracomment>A share; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-tip">
        <source>Click to add a point, drag it to move it. Page Up and Page Down choose a point, the arrow keys move it, Insert adds one behind it, Delete removes it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-name">
        <source>Envelope, point %1 of %2: %3 of the selection, gain %4</source>
        <extracomment>What a screen reader says; %1 is the number of the point, %2 of how many, %3 and %4 are like &quot;50 %&quot;</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-add">
        <source>Add Point</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-remove">
        <source>Remove Point</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-percent-suffix">
        <source> %</source>
        <extracomment>Behind a typed number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-position">
        <source>Poi&amp;nt at:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="envelope-gain">
        <source>&amp;Gain:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="message-undo">
        <source>Undo</source>
        <extracomment>Takes back what the message beside the button tells of</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="partial-mixdown">
        <source>Mixing down was cancelled; what was done until then was kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="partial-resampling">
        <source>Resampling was cancelled; what was done until then was kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="partial-paste">
        <source>Pasting was cancelled; what was done until then was kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="partial-fewer-tracks">
        <source>Fewer tracks were copied than are selected; they went to the first ones.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="partial-more-tracks">
        <source>More tracks were copied than there are from the selection on; the last ones were left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="analysis-part">
        <source>%1, %2 to %3, %4</source>
        <extracomment>Which part of a sound is looked at: %1 is the file, %2 and %3 are times, %4 names tracks</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-title">
        <source>Spectrum</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-readout">
        <source>%1 Hz   %2   %3 dB</source>
        <extracomment>A frequency, a note (may be empty) and a level</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-size">
        <source>&amp;Frames:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-window">
        <source>&amp;Window:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-hann">
        <source>Hann</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-hamming">
        <source>Hamming</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-blackman-harris">
        <source>Blackman-Harris</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-flat-top">
        <source>Flat top</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-rectangular">
        <source>Rectangular</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-axis">
        <source>A&amp;xis:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-logarithmic">
        <source>Logarithmic</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-linear">
        <source>Linear</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-save-text">
        <source>Save &amp;Text…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-text-title">
        <source>Save the spectrum as text</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-save-picture">
        <source>Save &amp;Picture…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-picture-title">
        <source>Save the spectrum as a picture</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="spectrum-again">
        <source>Look at the &amp;Selection</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="close">
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-title">
        <source>Statistics</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="analysis-copy">
        <source>&amp;Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-cell">
        <source>%1: %2 %3</source>
        <extracomment>What a screen reader says of a figure; %1 is what it is, %2 the number, %3 its unit</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-loudness">
        <source>Loudness</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-integrated">
        <source>Integrated</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-short-term">
        <source>Highest short-term</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-momentary">
        <source>Highest momentary</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-range">
        <source>Range</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-levels">
        <source>Levels</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-true-peak">
        <source>True peak</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-peak">
        <source>Peak</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-rms">
        <source>RMS level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-dc">
        <source>DC offset</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="statistics-clipped">
        <source>Clipped samples</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="menu-analysis">
        <source>A&amp;nalysis</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="analysis-statistics">
        <source>&amp;Statistics…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="analysis-spectrum">
        <source>S&amp;pectrum…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-spectrogram-linear">
        <source>Spectrogram with Linear Frequencies</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="view-spectrogram">
        <source>Spectro&amp;gram</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-zoom-one">
        <source>1 sample per pixel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-take">
        <source>Take of %1</source>
        <extracomment>A recording; %1 is the time of day when it began</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-take-in">
        <source>Take of %1, %2</source>
        <extracomment>A recording; %1 is the time of day when it began, %2 the name of a document</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-part">
        <source>Part of %1</source>
        <extracomment>Sound that belongs to a document; %1 is its name</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-computed">
        <source>%1 in %2</source>
        <extracomment>Sound that was computed; %1 is the name of a command or an effect, %2 that of a document</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-sound">
        <source>Sound of %1</source>
        <extracomment>Sound of which only the time of day (%1) is known</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-document">
        <source>%1, not saved</source>
        <extracomment>%1 is the name of a document</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="left-over-decoded">
        <source>Decoded %1</source>
        <extracomment>%1 is the name of a document whose file was decoded</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-hertz">
        <source>%1 Hz</source>
        <extracomment>A frequency; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-kilohertz">
        <source>%1 kHz</source>
        <extracomment>A frequency; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-decibels">
        <source>%1 dB</source>
        <extracomment>A level; %1 is a number</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-tip-free">
        <source>Click to add a point, drag it to move it. Page Up and Page Down choose a point, the arrow keys move it, Insert adds one behind it, Delete removes it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-tip-bands">
        <source>Drag a handle to move it; the wheel makes its band narrower or wider, a double click level. Page Up and Page Down choose a handle, the arrow keys move it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-name">
        <source>Frequency response, handle %1 of %2: %3, %4</source>
        <extracomment>What a screen reader says; %1 is the number of the handle, %2 of how many, %3 and %4 are like &quot;1 kHz&quot;, &quot;-3 dB&quot;</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-point">
        <source>Poi&amp;nt at:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="response-gain">
        <source>&amp;Gain:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-label">
        <source>Pre&amp;set:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="generator-preview-tip">
        <source>Hear the sound until it is stopped (Ctrl+Space)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="keyboard-name">
        <source>Piano keyboard</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="keyboard-tip">
        <source>Click a key, or play with the letters: A to L are white keys, the row above black ones; Z and X change the octave. The arrow keys choose a key, and the space bar plays it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="notes-remove">
        <source>Remove &amp;Last</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="notes-none">
        <source>Play the notes to insert: with the mouse, or with the letters A to L.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-accessible">
        <source>Preset</source>
        <extracomment>What the pop-up is for, to a screen reader</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-none">
        <source>None</source>
        <extracomment>No preset</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-manage">
        <source>Manage Presets…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-make">
        <source>Make Preset…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-delete">
        <source>Delete Preset…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-factory">
        <source>Factory Presets</source>
        <extracomment>The presets that come with the program</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-make-title">
        <source>Make Preset</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-save">
        <source>Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-name">
        <source>&amp;Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-replaces">
        <source>Replaces the preset of that name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-installed">
        <source>“%1” was added to the presets of “%2”.</source>
        <extracomment>%1 is the name of a preset, %2 that of a folder of presets (&quot;Delay&quot;)</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-elsewhere">
        <source>The effect’s own menu shows the folder “%1”, which has another name.</source>
        <extracomment>%1 is the name of a folder of presets</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-elsewhere-add">
        <source>Add to That Menu</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-filter">
        <source>Presets (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-list-title">
        <source>Presets</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-rename">
        <source>&amp;Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-list-delete">
        <source>&amp;Delete…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-reveal">
        <source>&amp;Show File</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-import">
        <source>&amp;Import…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-export">
        <source>&amp;Export…</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="DELETE_PRESET_TITLE">
        <source>Delete the preset “%1”?</source>
        <extracomment>%1 is the name of a preset</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="DELETE_PRESET_TEXT">
        <source>Its file is removed, which cannot be undone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="DELETE_PRESET_OK">
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="DELETE_PRESET_CANCEL">
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-replace-title">
        <source>Replace existing preset?</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-replace-text">
        <source>The preset “%1” already exists.</source>
        <extracomment>%1 is the name of a preset</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-replace-ok">
        <source>Replace</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-import-title">
        <source>Import Presets</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preset-export-title">
        <source>Export Preset</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Amplify">
        <source>Amplify</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain">
        <source>Gain</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Makes the sound louder or softer.">
        <source>Makes the sound louder or softer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How much louder (or softer, below 0) the sound becomes.">
        <source>How much louder (or softer, below 0) the sound becomes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="dB">
        <source>dB</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Normalize">
        <source>Normalize</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Brings the loudest part to a target level.">
        <source>Brings the loudest part to a target level.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Target level">
        <source>Target level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level that the loudest part is brought to.">
        <source>Level that the loudest part is brought to.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Channels independently">
        <source>Channels independently</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gives each channel a gain of its own instead of one for all.">
        <source>Gives each channel a gain of its own instead of one for all.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Use RMS level">
        <source>Use RMS level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Measures the loudest fifth of a second instead of the highest peak.">
        <source>Measures the loudest fifth of a second instead of the highest peak.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Normalize Loudness">
        <source>Normalize Loudness</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Brings the loudness of the whole to a target, and keeps the true peak below a ceiling.">
        <source>Brings the loudness of the whole to a target, and keeps the true peak below a ceiling.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Target loudness">
        <source>Target loudness</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Integrated loudness that the whole is brought to.">
        <source>Integrated loudness that the whole is brought to.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="LUFS">
        <source>LUFS</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="True-peak ceiling">
        <source>True-peak ceiling</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The sound is made no louder than lets its true peak stay below this.">
        <source>The sound is made no louder than lets its true peak stay below this.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="dBTP">
        <source>dBTP</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="DC Offset">
        <source>DC Offset</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Removes a constant offset of the waveform, or adds one.">
        <source>Removes a constant offset of the waveform, or adds one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Remove the offset">
        <source>Remove the offset</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Measures the offset all along and takes it away.">
        <source>Measures the offset all along and takes it away.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Offset to add">
        <source>Offset to add</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="What is added to every sample; left out, the offset is removed.">
        <source>What is added to every sample; left out, the offset is removed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="%">
        <source>%</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Compressor">
        <source>Compressor</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Dynamics">
        <source>Dynamics</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Lowers what is too loud, and raises the rest.">
        <source>Lowers what is too loud, and raises the rest.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Threshold">
        <source>Threshold</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="What is louder becomes softer.">
        <source>What is louder becomes softer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Ratio">
        <source>Ratio</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How many dB above the threshold become one; many make it a limiter.">
        <source>How many dB above the threshold become one; many make it a limiter.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Attack">
        <source>Attack</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the gain takes to fall when the sound becomes too loud.">
        <source>How long the gain takes to fall when the sound becomes too loud.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="s">
        <source>s</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Release">
        <source>Release</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the gain takes to recover.">
        <source>How long the gain takes to recover.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Automatic post gain">
        <source>Automatic post gain</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Lets the post gain follow threshold and ratio whenever one of them is moved.">
        <source>Lets the post gain follow threshold and ratio whenever one of them is moved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Post gain">
        <source>Post gain</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How much louder everything becomes after that; left out, it makes up for the loss.">
        <source>How much louder everything becomes after that; left out, it makes up for the loss.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Follow the mean level (RMS)">
        <source>Follow the mean level (RMS)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Goes by the mean power instead of the peaks.">
        <source>Goes by the mean power instead of the peaks.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Audiobook">
        <source>Audiobook</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Drums with Punch">
        <source>Drums with Punch</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gentle Levelling">
        <source>Gentle Levelling</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Interview of Loud and Soft Voices">
        <source>Interview of Loud and Soft Voices</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Lecture from the Back Row">
        <source>Lecture from the Back Row</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Peaks Only">
        <source>Peaks Only</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Expander">
        <source>Expander</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Lowers what is soft, so that it differs more from what is loud.">
        <source>Lowers what is soft, so that it differs more from what is loud.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="What is softer becomes softer still.">
        <source>What is softer becomes softer still.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="By how many dB the gain falls for each that the level falls.">
        <source>By how many dB the gain falls for each that the level falls.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the gain takes to rise when the sound comes back.">
        <source>How long the gain takes to rise when the sound comes back.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the gain takes to fall when the sound has ended.">
        <source>How long the gain takes to fall when the sound has ended.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Damp the Room">
        <source>Damp the Room</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Drum Bleed">
        <source>Drum Bleed</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Soften Breaths">
        <source>Soften Breaths</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tape Hiss">
        <source>Tape Hiss</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Traffic under Speech">
        <source>Traffic under Speech</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Noise Gate">
        <source>Noise Gate</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Shuts out what is soft: noise between the words.">
        <source>Shuts out what is soft: noise between the words.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="What is softer is shut out.">
        <source>What is softer is shut out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Drum Microphone">
        <source>Drum Microphone</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Guitar Amplifier">
        <source>Guitar Amplifier</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Hum between Words">
        <source>Hum between Words</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Quiet Room">
        <source>Quiet Room</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Telephone Line">
        <source>Telephone Line</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fade In">
        <source>Fade In</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fades">
        <source>Fades</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fades linearly from silence.">
        <source>Fades linearly from silence.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fade Out">
        <source>Fade Out</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fades linearly to silence.">
        <source>Fades linearly to silence.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fade Special">
        <source>Fade Special</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fades along an envelope.">
        <source>Fades along an envelope.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Envelope">
        <source>Envelope</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Envelope as x0,y0,x1,y1,...: x from 0 to 1 over the selection, y the gain as a factor.">
        <source>Envelope as x0,y0,x1,y1,...: x from 0 to 1 over the selection, y the gain as a factor.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Duck in the Middle">
        <source>Duck in the Middle</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fade In and Out">
        <source>Fade In and Out</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fade Out Late">
        <source>Fade Out Late</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fade Out like an Echo">
        <source>Fade Out like an Echo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Slow Swell">
        <source>Slow Swell</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Two Pulses">
        <source>Two Pulses</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Interpolate">
        <source>Interpolate</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Bridges the selection with a smooth curve between its ends, which hides clicks.">
        <source>Bridges the selection with a smooth curve between its ends, which hides clicks.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Graphic Equalizer">
        <source>Graphic Equalizer</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Equalizers">
        <source>Equalizers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Makes frequencies louder or softer along a curve through points anywhere.">
        <source>Makes frequencies louder or softer along a curve through points anywhere.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Curve">
        <source>Curve</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Points of the curve: frequency in Hz and level in dB, and so on.">
        <source>Points of the curve: frequency in Hz and level in dB, and so on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Dictation">
        <source>Dictation</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Hum of 50 Hz">
        <source>Hum of 50 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Hum of 60 Hz">
        <source>Hum of 60 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Rumble">
        <source>Rumble</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Small Loudspeaker">
        <source>Small Loudspeaker</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tilt to the Bass">
        <source>Tilt to the Bass</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tilt to the Treble">
        <source>Tilt to the Treble</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Graphic EQ - 10 Band">
        <source>Graphic EQ - 10 Band</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Makes each of ten octaves louder or softer.">
        <source>Makes each of ten octaves louder or softer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="31 Hz">
        <source>31 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 31 Hz.">
        <source>Gain of the octave around 31 Hz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="63 Hz">
        <source>63 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 63 Hz.">
        <source>Gain of the octave around 63 Hz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="125 Hz">
        <source>125 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 125 Hz.">
        <source>Gain of the octave around 125 Hz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="250 Hz">
        <source>250 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 250 Hz.">
        <source>Gain of the octave around 250 Hz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="500 Hz">
        <source>500 Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 500 Hz.">
        <source>Gain of the octave around 500 Hz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="1 kHz">
        <source>1 kHz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 1 kHz.">
        <source>Gain of the octave around 1 kHz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="2 kHz">
        <source>2 kHz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 2 kHz.">
        <source>Gain of the octave around 2 kHz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="4 kHz">
        <source>4 kHz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 4 kHz.">
        <source>Gain of the octave around 4 kHz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="8 kHz">
        <source>8 kHz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 8 kHz.">
        <source>Gain of the octave around 8 kHz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="16 kHz">
        <source>16 kHz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of the octave around 16 kHz.">
        <source>Gain of the octave around 16 kHz.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Clear Speech">
        <source>Clear Speech</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Laptop Loudspeakers">
        <source>Laptop Loudspeakers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Late at Night">
        <source>Late at Night</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="More Air">
        <source>More Air</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Old Radio">
        <source>Old Radio</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Soften Sibilants">
        <source>Soften Sibilants</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Warmth">
        <source>Warmth</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Graphic EQ - 3 Band">
        <source>Graphic EQ - 3 Band</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Makes low, middle and high frequencies louder or softer.">
        <source>Makes low, middle and high frequencies louder or softer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Low">
        <source>Low</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of what lies below.">
        <source>Gain of what lies below.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Low frequency">
        <source>Low frequency</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Where the low gain has fallen to its half.">
        <source>Where the low gain has fallen to its half.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id=": 1">
        <source>: 1</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Hz">
        <source>Hz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Middle">
        <source>Middle</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain around the middle frequency.">
        <source>Gain around the middle frequency.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Middle frequency">
        <source>Middle frequency</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Centre of the middle band.">
        <source>Centre of the middle band.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Middle Q">
        <source>Middle Q</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The higher, the narrower is the middle band.">
        <source>The higher, the narrower is the middle band.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="High">
        <source>High</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gain of what lies above.">
        <source>Gain of what lies above.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="High frequency">
        <source>High frequency</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Where the high gain has fallen to its half.">
        <source>Where the high gain has fallen to its half.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Boomy Microphone">
        <source>Boomy Microphone</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Boxy Room">
        <source>Boxy Room</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Dull Tape">
        <source>Dull Tape</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Nasal Voice">
        <source>Nasal Voice</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Smile">
        <source>Smile</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Telephone">
        <source>Telephone</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="High Pass Filter">
        <source>High Pass Filter</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Takes low frequencies away, rumble and hum say.">
        <source>Takes low frequencies away, rumble and hum say.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Frequency">
        <source>Frequency</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="What lies below it is taken away; there it is 3 dB softer.">
        <source>What lies below it is taken away; there it is 3 dB softer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Slope">
        <source>Slope</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How fast the sound falls off beyond it, in dB an octave.">
        <source>How fast the sound falls off beyond it, in dB an octave.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="dB/octave">
        <source>dB/octave</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="12">
        <source>12</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="24">
        <source>24</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="36">
        <source>36</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="48">
        <source>48</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Low Pass Filter">
        <source>Low Pass Filter</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Takes high frequencies away, hiss say.">
        <source>Takes high frequencies away, hiss say.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="What lies above it is taken away; there it is 3 dB softer.">
        <source>What lies above it is taken away; there it is 3 dB softer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Delay">
        <source>Delay</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Adds an echo, once or again and again.">
        <source>Adds an echo, once or again and again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Dry level">
        <source>Dry level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of the sound itself.">
        <source>Level of the sound itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Echo level">
        <source>Echo level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of the echo; of each repeat, below the one before.">
        <source>Level of the echo; of each repeat, below the one before.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Time until the echo.">
        <source>Time until the echo.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Repeat the echo">
        <source>Repeat the echo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Feeds the echo back, so that it comes again and again.">
        <source>Feeds the echo back, so that it comes again and again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Let it ring">
        <source>Let it ring</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Keeps what sounds on after the selection, and adds it to what follows there.">
        <source>Keeps what sounds on after the selection, and adds it to what follows there.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Canyon">
        <source>Canyon</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Dotted Eighths at 120">
        <source>Dotted Eighths at 120</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Doubling">
        <source>Doubling</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Slapback">
        <source>Slapback</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Station Loudspeaker">
        <source>Station Loudspeaker</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tape Echo">
        <source>Tape Echo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Flanger">
        <source>Flanger</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Mixes in a copy with a short delay that sweeps to and fro.">
        <source>Mixes in a copy with a short delay that sweeps to and fro.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Wet level">
        <source>Wet level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of the delayed sound.">
        <source>Level of the delayed sound.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Speed">
        <source>Speed</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the delay takes to sweep to and fro.">
        <source>How long the delay takes to sweep to and fro.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Shortest delay.">
        <source>Shortest delay.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="ms">
        <source>ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Sweep depth">
        <source>Sweep depth</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How much longer the delay becomes.">
        <source>How much longer the delay becomes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Sweep">
        <source>Sweep</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Shape of the sweep.">
        <source>Shape of the sweep.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Triangle">
        <source>Triangle</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Sine">
        <source>Sine</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fast Warble">
        <source>Fast Warble</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Hollow">
        <source>Hollow</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Jet">
        <source>Jet</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Metal Pipe">
        <source>Metal Pipe</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Shimmering Guitar">
        <source>Shimmering Guitar</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Chorus">
        <source>Chorus</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Makes one voice sound like several.">
        <source>Makes one voice sound like several.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Choir">
        <source>Choir</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Detuned Octet">
        <source>Detuned Octet</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Doubled Voice">
        <source>Doubled Voice</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Gentle Guitar">
        <source>Gentle Guitar</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Seasick">
        <source>Seasick</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Wide Strings">
        <source>Wide Strings</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Reverb">
        <source>Reverb</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Puts the sound into a room.">
        <source>Puts the sound into a room.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Room size">
        <source>Room size</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the sound takes from wall to wall: 1 is 5 to 8 ms.">
        <source>How long the sound takes from wall to wall: 1 is 5 to 8 ms.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Decay">
        <source>Decay</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the room takes to fall silent.">
        <source>How long the room takes to fall silent.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Color">
        <source>Color</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Walls that swallow what is higher make the room dull.">
        <source>Walls that swallow what is higher make the room dull.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Room level">
        <source>Room level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of the room under the sound.">
        <source>Level of the room under the sound.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Bathroom">
        <source>Bathroom</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Cathedral">
        <source>Cathedral</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Chamber Music Hall">
        <source>Chamber Music Hall</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Concert Hall">
        <source>Concert Hall</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Living Room">
        <source>Living Room</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Plate">
        <source>Plate</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Underground Garage">
        <source>Underground Garage</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Add Noise">
        <source>Add Noise</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Mix In">
        <source>Mix In</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Mixes white noise in.">
        <source>Mixes white noise in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Noise level">
        <source>Noise level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of the noise; 0 dB is full scale.">
        <source>Level of the noise; 0 dB is full scale.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Add More Cowbell">
        <source>Add More Cowbell</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Mixes a cowbell in, struck twice a second.">
        <source>Mixes a cowbell in, struck twice a second.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Cowbell level">
        <source>Cowbell level</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of the cowbell; 0 dB is as recorded.">
        <source>Level of the cowbell; 0 dB is as recorded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Reverse">
        <source>Reverse</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Time">
        <source>Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Turns the sound around in time.">
        <source>Turns the sound around in time.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Invert">
        <source>Invert</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Channels">
        <source>Channels</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Turns the polarity around.">
        <source>Turns the polarity around.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Swap Channels">
        <source>Swap Channels</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Exchanges left and right.">
        <source>Exchanges left and right.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Insert Tone">
        <source>Insert Tone</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Inserts a tone at the selection's start, on its tracks, and selects it.">
        <source>Inserts a tone at the selection&apos;s start, on its tracks, and selects it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Duration">
        <source>Duration</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long it lasts; left out, as long as the selection.">
        <source>How long it lasts; left out, as long as the selection.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Amplitude">
        <source>Amplitude</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Level of its peaks; 0 dB is full scale.">
        <source>Level of its peaks; 0 dB is full scale.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Pitch of the tone.">
        <source>Pitch of the tone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Waveform">
        <source>Waveform</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Shape of the tone.">
        <source>Shape of the tone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Square">
        <source>Square</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Insert Noise">
        <source>Insert Noise</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Inserts noise at the selection's start, on its tracks, and selects it.">
        <source>Inserts noise at the selection&apos;s start, on its tracks, and selects it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Insert FM Tone">
        <source>Insert FM Tone</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Inserts a tone with a sweeping frequency at the selection's start, on its tracks, and selects it.">
        <source>Inserts a tone with a sweeping frequency at the selection&apos;s start, on its tracks, and selects it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Carrier">
        <source>Carrier</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Frequency in the middle.">
        <source>Frequency in the middle.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Modulation">
        <source>Modulation</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How often a second the frequency sweeps.">
        <source>How often a second the frequency sweeps.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Deviation">
        <source>Deviation</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How far the frequency sweeps to each side.">
        <source>How far the frequency sweeps to each side.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Insert Notes">
        <source>Insert Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Inserts a note at the selection's start, on its tracks, and selects it.">
        <source>Inserts a note at the selection&apos;s start, on its tracks, and selects it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Note">
        <source>Note</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Note and octave: A4, C#5 or Bb3.">
        <source>Note and octave: A4, C#5 or Bb3.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tuning">
        <source>Tuning</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Frequency of the note A4.">
        <source>Frequency of the note A4.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Pitch">
        <source>Pitch</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Semitones by which the sound becomes higher.">
        <source>Semitones by which the sound becomes higher.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Fine">
        <source>Fine</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Hundredths of a semitone that are added.">
        <source>Hundredths of a semitone that are added.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tempo by">
        <source>Tempo by</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How the new tempo is given.">
        <source>How the new tempo is given.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Percent">
        <source>Percent</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Beats per minute">
        <source>Beats per minute</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="200 % is twice as fast, half as long.">
        <source>200 % is twice as fast, half as long.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="How long the selection becomes; 0 leaves it as it is.">
        <source>How long the selection becomes; 0 leaves it as it is.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Beats afterwards">
        <source>Beats afterwards</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Beats before">
        <source>Beats before</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Beats per minute that the sound should have.">
        <source>Beats per minute that the sound should have.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Beats per minute that the sound has.">
        <source>Beats per minute that the sound has.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="bpm">
        <source>bpm</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Keep formants">
        <source>Keep formants</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="A voice keeps its character when its pitch changes.">
        <source>A voice keeps its character when its pitch changes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Pitch and Tempo">
        <source>Pitch and Tempo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Changes how high a sound is, or how long, each without the other.">
        <source>Changes how high a sound is, or how long, each without the other.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Child's Voice">
        <source>Child&apos;s Voice</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Deep Voice">
        <source>Deep Voice</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="From A 432 to 440">
        <source>From A 432 to 440</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="From A 440 to 415">
        <source>From A 440 to 415</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Lecture in Less Time">
        <source>Lecture in Less Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Octave Down">
        <source>Octave Down</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Transcribe">
        <source>Transcribe</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Length">
        <source>Length</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tempo">
        <source>Tempo</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="semitones">
        <source>semitones</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="cents">
        <source>cents</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-input-meter-left">
        <source>Level before the effect, left</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-input-meter-right">
        <source>Level before the effect, right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-output-meter-left">
        <source>Level behind the effect, left</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-output-meter-right">
        <source>Level behind the effect, right</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-meter-input">
        <source>Input</source>
        <extracomment>Caption of a level meter in the dialog of an effect</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-meter-output">
        <source>Output</source>
        <extracomment>Caption of a level meter in the dialog of an effect</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-meter-gain-reduction">
        <source>Gain reduction</source>
        <extracomment>Caption of a meter that shows by how many dB an effect lowers the gain</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="effect-remark">
        <source>%1: %2</source>
        <extracomment>%1 is the name of an effect, %2 what it could not do</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="The selection is silent; it stays as it is.">
        <source>The selection is silent; it stays as it is.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The selection is all but silent, too quiet for any gain; it stays as it is.">
        <source>The selection is all but silent, too quiet for any gain; it stays as it is.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The selection is too short or too quiet to have a loudness; it stays as it is.">
        <source>The selection is too short or too quiet to have a loudness; it stays as it is.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="%1 Hz lies above what a sample rate of %2 Hz can hold (filters reach up to %3 Hz); the sound stays as it is.">
        <source>%1 Hz lies above what a sample rate of %2 Hz can hold (filters reach up to %3 Hz); the sound stays as it is.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="%1 Hz lies above what a sample rate of %2 Hz can hold (filters reach up to %3 Hz); what is set there was left out.">
        <source>%1 Hz lies above what a sample rate of %2 Hz can hold (filters reach up to %3 Hz); what is set there was left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The sound of the cowbell is missing; yours stays as it is. %1">
        <source>The sound of the cowbell is missing; yours stays as it is. %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-saving">
        <source>Saving</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-compressed">
        <source>Compressed sound:</source>
        <extracomment>In front of the box &quot;Copy what was not edited&quot;</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message id="preferences-copy-packets">
        <source>Copy what was not edited</source>
        <extracomment>Where a file of compressed sound is edited and saved, sound that no edit touched is not encoded once more</extracomment>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
