/// Numbers of everything that a language module holds: dialogs, controls, strings, pictures, the cursor.
///
/// The comments tell what each says in English; a text with "&" carries a mnemonic. Where a control shows no text of
/// its own, its comment starts with "name:", the name for screen readers. "tip:" is the gist of the tool tip.
#ifndef KYFOCUS_UI_TEXT_IDS_H
#define KYFOCUS_UI_TEXT_IDS_H

namespace kyfui {

enum ResourceId : int {
    kIdOk = 0x1,     ///< button "OK"
    kIdCancel = 0x2, ///< button "Cancel"

    // Dialogs: titles of windows.
    kIdManualDialog = 0xCF,      ///< "2D settings"
    kIdPositioningDialog = 0xD0, ///< "Automatic positioning"
    kIdParameterDialog = 0xD2,   ///< "Focus composition"
    kIdParameterPanel = 0xFC,    ///< name: "Composition settings"; the panel has no title
    kIdGpuPanel = 0x11C,         ///< title of the panel's frame: "Graphics processor"
    kIdDetailDialog = 0x11A6,    ///< "3D settings"

    /// Drag cursor of the area squares. Its middle lies 5 pixels right of and below the hot spot, the place that is
    /// tested.
    kIdDragCursor = 0xD1,

    // Entries of combo boxes, in this order.
    kIdSpeedFull = 0xD3,    ///< Speed 0: "Fine (slow)"; 2D works at full width, 3D at 512 samples
    kIdSpeedHalf = 0xD4,    ///< Speed 1: "Standard"; half width, 256 samples
    kIdSpeedQuarter = 0xD5, ///< Speed 2: "Fast (coarse)"; quarter width, 64 samples
    kIdPresetFine = 0xDD,   ///< CompSize 1, Smoothing 8: "Fine structures"
    kIdPresetMedium = 0xDE, ///< 8, 6: "Standard"
    kIdPresetCoarse = 0xDF, ///< 15, 6: "Coarse structures"
    kIdAreas2 = 0xE0,       ///< AreaNo 0: "2 areas"
    kIdAreas3 = 0xE1,       ///< "3 areas"
    kIdAreas4 = 0xE2,       ///< "4 areas"

    // Pictures of the image buttons.
    kIdBottomPicture = 0xD6, ///< a profile with a flat bottom, marked
    kIdTopPicture = 0xD9,    ///< a profile with a flat top, marked
    kIdOtherPicture = 0xDB,  ///< a profile whose flat parts follow what lies around them

    // Parameter panel.
    kIdAlgorithm2D = 0xFA1,       ///< "&2D"; tip: the sharpest frame of each place; for flat samples and quick results
    kIdAlgorithm3D = 0xFA2,       ///< "&3D"; tip: heights as well, and an image made from them
    kIdComplex = 0xFB2,           ///< check "&Complex (both)"; tip: 2D and 3D composition together, whichever is chosen
    kIdSetFine = 0xFA3,           ///< parameter set 0: "&Fine structures"
    kIdSetMedium = 0xFA4,         ///< "&Standard"
    kIdSetCoarse = 0xFA5,         ///< "C&oarse structures"
    kIdSetManual = 0xFA6,         ///< "&Manual"; tip: values of one's own
    kIdManualButton = 0xFA7,      ///< "&Adjust...": opens the manual dialog
    kIdPlaneBottom = 0xFA8,       ///< "&Bottom"; tip: wide areas without focus take the height of the bottom
    kIdPlaneTop = 0xFA9,          ///< "&Top"
    kIdPlaneOther = 0xFAA,        ///< "Ot&her"; tip: they take what lies around them
    kIdPlaneBottomButton = 0xFAB, ///< name: "Bottom, picture"; tip as that of the radio button
    kIdPlaneTopButton = 0xFAC,    ///< name: "Top, picture"
    kIdPlaneOtherButton = 0xFAD,  ///< name: "Other, picture"
    kIdAutoPosition = 0xFAE,      ///< check "Automatic &positioning"; tip: corrects sideways shifts between frames
    kIdPositioningButton = 0xFAF, ///< "A&reas...": opens the automatic positioning dialog
    kIdSpeed = 0xFB0,             ///< name: "Speed"; tip: coarser work is faster
    kIdDetailButton = 0xFB1,      ///< "&Details...": opens the detail dialog

    // Manual dialog. The slider and the field of a pair share a tool tip: meaning, unit, range.
    kIdPreset = 0x1004, ///< name: "Preset"; tip: sets both values
    kIdSmoothingSlider =
        0x1005,                 ///< name: "Smoothing, slider"; tip: smoothing of the heights, percent of width, 0 to 10
    kIdSmoothingEdit = 0x1006,  ///< name: "Smoothing"
    kIdCompSizeSlider = 0x1007, ///< name: "Structure size, slider"; tip: size of structures, percent of width, 0 to 20
    kIdCompSizeEdit = 0x1008,   ///< name: "Structure size"

    // Automatic positioning dialog.
    kIdAreaCount = 0x1009,   ///< name: "Number of areas"
    kIdAreaReset = 0x100A,   ///< button "&Reset": the usual places for this number
    kIdAreaPicture = 0x100B, ///< name: "Areas in the image"; tip: drag squares, or Tab and arrow keys (1 % a step)

    // Detail dialog.
    kIdHalation = 0x11A7,          ///< check "&Halation measures"; tip: no heights from glare
    kIdPeakPosition = 0x11A8,      ///< check "Take the &greatest height of several peaks"
    kIdSensitivitySlider = 0x11A9, ///< name: "Sensitivity, slider"; tip: how weak a focus peak still counts, 0 to 10
    kIdShapeSlider = 0x11AA,       ///< name: "Shape smoothing, slider"; tip: smoothing of the height map, 0 to 10
    kIdSensitivityEdit = 0x11AB,   ///< name: "Sensitivity"
    kIdShapeEdit = 0x11AC,         ///< name: "Shape smoothing"
    kIdDetailDefaults = 0x11AD,    ///< button "De&faults"
    kIdNoiseSlider = 0x11AE, ///< name: "Noise removal, slider"; tip: removes isolated spikes of the heights, 0 to 10
    kIdNoiseEdit = 0x11AF,   ///< name: "Noise removal"

    // Graphics processor panel. The text shows one of the three names.
    kIdProcessorText = 0x11B9, ///< name: "Processor in use"
    kIdDisableGpu = 0x11BA,    ///< check "Do not &use the graphics processor"; tip: counts for 3D composition alone
    kIdCudaName = 0x11BB,      ///< "NVIDIA graphics processor (CUDA)"
    kIdOpenClName = 0x11BC,    ///< "Graphics processor (OpenCL)"
    kIdNoGpuName = 0x11BD,     ///< "None (computed on the CPU)"

    // Places that the two panels take in the parameter dialog: no texts.
    kIdPanelPlace = 0x11A2,
    kIdGpuPanelPlace = 0x11BE,

    // Frames and labels.
    kIdAlgorithmGroup = 0x2001,   ///< frame "Composition"
    kIdSetGroup = 0x2002,         ///< frame "2D: size of structures"
    kIdPlaneGroup = 0x2003,       ///< frame "3D: areas without focus"
    kIdPositioningGroup = 0x2004, ///< frame "Positioning"
    kIdSpeedLabel = 0x2005,       ///< label of the speeds: "Sp&eed:"
    kIdPresetLabel = 0x2006,      ///< "&Preset:"
    kIdCompSizeLabel = 0x2007,    ///< label of the field: "Structure si&ze:"
    kIdSmoothingLabel = 0x2008,   ///< "&Smoothing:"
    kIdPercent = 0x2009,          ///< unit behind the two fields: "%"
    kIdSensitivityLabel = 0x200A, ///< "&Sensitivity:"
    kIdNoiseLabel = 0x200B,       ///< "&Noise removal:"
    kIdShapeLabel = 0x200C,       ///< "S&hape smoothing:"; mind the mnemonics of the same dialog
    kIdAreaCountLabel = 0x200D,   ///< "&Number of areas:"
    kIdAreaHint = 0x200E,         ///< line under the picture: "Drag the squares onto structures with good contrast."
    kIdRangeError = 0x200F,       ///< note at a field of the detail dialog: "Enter a whole number from 0 to 10."
    kIdAreaDescription = 0x2010,  ///< for screen readers: "Area %1 of %2: %3 % from the left, %4 % from the top"
    kIdPresetNone = 0x2011,       ///< shown in the preset box while the values are the user's own: "(own values)"
    kIdAreaCountNone = 0x2012,    ///< shown in the box of area counts while none is chosen: "(none)"
};

} // namespace kyfui

#endif
