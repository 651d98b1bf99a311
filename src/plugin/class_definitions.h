#pragma once

// The two classes' member tables, put together and registered.

namespace trv {

/// Registers PictureTRV, its constants in their final text.
void RegisterPicture();

/// Registers PictureFactoryTRV.
void RegisterFactory();

}  // namespace trv
