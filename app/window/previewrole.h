#pragma once

/// Tells assistive technology that the window's preview area is a picture; without this it is one
/// more border. To be called before the window's widgets are made. Lasts as long as the process.
void presentPreviewAsPicture();
