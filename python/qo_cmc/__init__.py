"""Camera-module characterization: parsed CMCs and the numeric toolkit, on NumPy arrays."""

from qo_cmc import _parsing

__version__ = _parsing.__version__
