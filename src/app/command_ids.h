#pragma once

// Every command the program sends, named once. The menus, the tool bars, the
// keys, the undo labels, the command line and the module entries all use
// these names; a number appears nowhere else.

// File
constexpr int kCommandNew = 57600;
constexpr int kCommandOpen = 2002;
constexpr int kCommandClose = 57602;
constexpr int kCommandSave = 57603;
constexpr int kCommandSaveAs = 57604;
constexpr int kCommandRecentFirst = 57616;  // 57616 .. 57621
constexpr int kCommandExit = 57665;
constexpr int kCommandOpenOpened = 11310;   // opens szOpenedFileName
// Ids of our own for the File menu's further commands.
constexpr int kCommandPreferences = 32900;
constexpr int kCommandSaveSelection = 32901;
constexpr int kCommandNewFromSelection = 32902;
constexpr int kCommandDelete = 32903;

// Edit: undo and redo, the Undo... list, and the edit operations (whose
// codes also name them in the undo labels).
constexpr int kUndoCommand = 11600;
constexpr int kRedoCommand = 11601;
constexpr int kCommandUndoList = 11602;
constexpr int kCommandSelectAll = 1020;
constexpr int kCommandClear = 11301;
constexpr int kCrop = 11302;
constexpr int kCut = 11303;
constexpr int kCopy = 11304;  // also "insert" when it names an operation
constexpr int kPaste = 11305;
constexpr int kReplace = 11306;
constexpr int kMix = 11307;
constexpr int kCrossfade = 11311;
constexpr int kInsertSilence = 11518;
constexpr int kTrim = 1881;
constexpr int ID_TIMEMARK_ADD = 11700;
constexpr int ID_TIMEMARK_DELETE_ALL = 11701;
constexpr int kCommandMarkHighlight = 11702;  // a pair of time marks from the highlight

// View
constexpr int kCommandZoomIn = 1898;
constexpr int kCommandZoomOut = 1899;
constexpr int kCommandZoomMaximum = 87;
constexpr int kCommandZoomMinimum = 88;
constexpr int kCommandFitToWindow = 32930;  // an id of our own
constexpr int kCommandGoStart = 11800;
constexpr int kCommandGoEnd = 11801;
constexpr int kCommandStartEarlierCoarse = 11900;  // Review: start 50 ms earlier
constexpr int kCommandEndLaterCoarse = 11901;      // Cue: end 50 ms later
constexpr int kCommandStartEarlier = 11902;
constexpr int kCommandStartLater = 11903;
constexpr int kCommandEndEarlier = 11904;
constexpr int kCommandEndLater = 11905;
constexpr int kCommandGoHighlight = 11906;

// Play
constexpr int kCommandRecord = 1813;
constexpr int kCommandPlay = 11401;
constexpr int kCommandPause = 11402;
constexpr int kCommandStop = 11403;
constexpr int kCommandLoop = 11404;

// Operations: the effects (each described in modules/effect_commands.cpp),
// the magnified plot, the spectrum display and the plug-in host.
constexpr int kEffectTempo = 11500;
constexpr int kEffectAmplify = 11501;
constexpr int kEffectPitch = 11502;
constexpr int kEffectCompressor = 11503;
constexpr int kEffectEcho = 11504;
constexpr int kEffectEnvelope = 11505;
constexpr int kEffectEqualize = 11506;
constexpr int kEffectFade = 11507;
constexpr int kEffectFlange = 11508;
constexpr int kEffectFilter = 11509;
constexpr int kEffectModulate = 11510;
constexpr int kEffectNoiseReduction = 11511;
constexpr int kEffectPan = 11512;
constexpr int kEffectQuantize = 11513;
constexpr int kEffectReverb = 11514;
constexpr int kEffectReverse = 11515;
constexpr int kEffectSpatial = 11516;
constexpr int kEffectTones = 11517;
constexpr int kCommandMagnifiedPlot = 393;
constexpr int kCommandSpectrum = 32910;  // an id of our own
constexpr int kCommandPlugIn = 181;      // processing through a plug-in
constexpr int kCommandRegisterPlugIn = 32926;

// MIDI and the triggered starts (ids of our own).
constexpr int kCommandChaseLock = 32920;
constexpr int kCommandDelayedStart = 32921;
constexpr int kCommandTriggeredStart = 32922;
constexpr int kCommandSampler = 32923;
constexpr int kCommandMidiKeyboard = 32924;
constexpr int kCommandDevices = 32925;

// Window and Help
constexpr int kCommandCascade = 57650;
constexpr int kCommandTile = 57651;
constexpr int kCommandAbout = 57664;
constexpr int kCommandHelp = 57670;
