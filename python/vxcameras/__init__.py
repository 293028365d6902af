"""Survey cameras, lens distortion and interior orientation of scanned images.

The Python face of VxCameraUtils: the records (Camera, Distortion, Measurements,
MarkTemplates) with their settings files, the camera-to-millimetre transform on NumPy
arrays, the solved interior orientation, the fit of a distortion model and the texts in
the user's language. Everything is computed by the C++ library; see docs/python.md.
"""

from ._vxcameras import *  # noqa: F401,F403
from ._vxcameras import __doc__ as _native_doc  # noqa: F401

__version__ = "0.1.0"
