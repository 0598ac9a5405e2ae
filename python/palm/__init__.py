"""Palm print and vein recognition.

Images are numpy arrays of dtype uint8, two-dimensional and C-ordered: a
region of interest is 110x110, a device frame 480 rows by 640 columns.
Palm codes are ``bytes`` of 384; a record is a list of ``(print, vein)``
tuples of codes; feature texts are ``str``.

    import numpy, palm
    roi = numpy.asarray(image, dtype=numpy.uint8)      # 110x110 region
    code = palm.extract(roi)                           # 384-byte palm code
    d = palm.match(code, palm.extract(other_roi))      # 0.0 equal .. 1.0
    text, md5 = palm.crypt_feature([(print_code, vein_code)])

Coding, matching, cropping, the pre-check and the server-side functions
release the interpreter lock, so Python threads run them in parallel; the
device workflow (enrol, login) runs one call at a time.
``python3 -m palm.evaluate DATASET_DIR`` measures accuracy on a dataset.
"""

from ._palm import *  # noqa: F401,F403
from ._palm import CropResult  # noqa: F401

__all__ = [name for name in dir() if not name.startswith("_")]
