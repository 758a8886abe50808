// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::localization {

/// The numbers by which texts are fetched (`UtilityLib::LocaleString`). A number keeps its meaning
/// for good; new texts take new numbers. text_table.cpp holds the texts in every language.
enum TextId : unsigned int {
    // The state of a project.
    kProjectFileReadOnly = 1366,  ///< a file of the project cannot be written
    kProjectFileMissing = 1370,   ///< a file that every project has is not there

    // The plane parameters dialog: its captions.
    kPlaneParamsTitle = 1400,
    kSelectData = 1401,    ///< above the choice between the next two
    kFullCloud = 1402,     ///< the alive points
    kThinnedCloud = 1403,  ///< the skeleton points
    kSplitSize = 1404,     ///< the edge of the cells into which the cloud is split
    kMetres = 1405,        ///< the three sliders of the split size
    kDecimetres = 1406,
    kCentimetres = 1407,
    kAngularTolerance = 1408,
    kSpeed = 1409,
    kSpeedExact = 1410,  ///< slider position 0: every point counts
    kSpeedBalanced = 1411,
    kSpeedFast = 1412,
    kDefault = 1413,  ///< the button that restores the defaults
    kView = 1414,     ///< the button that shows the result in the drawing
    kOk = 1415,
    kCancel = 1416,
    kSearching = 1417,  ///< in the picture's place while the preview is being made
    kStepDown = 1419,   ///< what the buttons left and right of a slider do, for screen readers
    kStepUp = 1420,

    // The scale of the project's thinned cloud, by step class 0 to 3.
    kThinnedTo1cm = 1421,
    kThinnedTo10cm = 1422,
    kThinnedTo1m = 1423,
    kThinnedOtherwise = 1424,
};

}  // namespace orvix::localization
