/// Stages between the selection and the two outputs of a make: repair on the grid, then the map at frame size that the
/// composite is made from. All throw std::bad_alloc.
#ifndef KYFOCUS_SAFE3D_MAP_STAGES_H
#define KYFOCUS_SAFE3D_MAP_STAGES_H

#include <kyfocus/session.h>

#include "progress/progress_proc_manager.h"
#include "safe3d/custom_deleter.h"

namespace kyf {

/// The quantised maps. Where the plane is filled, the composite has a map of its own without the fill.
class GridMaps {
  public:
    /// Quantises the selection. The mask is copied where it is needed twice.
    GridMaps(const KyfFocusComposition& session, const KyfImageData& frameMap, const KyiImageData& mask);

    KyfImageDataUint16& OfHeights() { return *m_height16; }
    KyfImageDataUint16& OfComposite() { return m_compose16 ? *m_compose16 : *m_height16; }
    bool HasTwo() const { return static_cast<bool>(m_compose16); }
    KyiImageData& CompositeMask() { return *m_composeMask; } ///< only where HasTwo
    void FreeComposite();

  private:
    HeldImage<KyfImageDataUint16> m_height16;
    HeldImage<KyfImageDataUint16> m_compose16;
    HeldImage<KyiImageData> m_composeMask;
};

/// Fills large areas without a surface, closes small holes, takes medians and means. Completes three steps.
/// @param mask  The selection's; used up.
void RepairMaps(const KyfFocusComposition& session, GridMaps& maps, KyiImageData& mask, KyiBool parallel,
                CProgressProcManager& steps);

/// Brings the composite's map to the frame's size, in whole frame numbers and averaged. Completes two steps.
/// @param full  Of the frame's size.
void MakeFullMap(GridMaps& maps, KyfImageDataUint16& full, KyiBool parallel, CProgressProcManager& steps);

/// Heights at the frame's size from the repaired map. Completes a step after the resampling.
/// @param frameMap  Of the grid's size; overwritten. @param full  Of the frame's size; receives the heights.
void MakeHeights(const KyfFocusComposition& session, GridMaps& maps, KyfImageData& frameMap, KyfImageData& full,
                 KyiBool parallel, CProgressProcManager& steps);

} // namespace kyf

#endif
