/// Height maps as surfaces of triangles: .ply with a colour a vertex, and .stl.
///
/// Both are binary and little endian. x grows to the right and y upwards in the picture, z is the height; seen from
/// above the triangles run counter-clockwise. The bottom left sample of the grid lies at x = y = 0.
#ifndef KYFOCUS_APP_MESH_FILE_H
#define KYFOCUS_APP_MESH_FILE_H

#include <filesystem>
#include <string>

#include <kyimaging/kyimaging.h>

#include "height_map_file.h"

namespace app {

struct MeshForm {
    int Step = 1;           ///< pixels from vertex to vertex, in x and y
    double PixelSize = 1.0; ///< in the unit of the heights
};

/// Why a map of this size makes no mesh, or nothing when it does: fewer than two vertices each way, or more triangles
/// than a file can count.
std::string MeshObstacle(int width, int height, const MeshForm& form);

/// Writes vertices with colours and two triangles for each four of them; a hole of the map leaves a gap.
/// @param colours  An image of the map's size, gray or colour; 16-bit samples are cut to their upper half.
/// Throws Failure, naming the file and the reason; a partial file may stay.
void SavePly(const std::filesystem::path& file, const HeightMap& map, const KyiImageData& colours,
             const MeshForm& form);

/// Writes the same triangles with their normals. Throws as SavePly.
void SaveStl(const std::filesystem::path& file, const HeightMap& map, const MeshForm& form);

} // namespace app

#endif
