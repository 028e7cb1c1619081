"""Camera-module characterization: parsed CMCs and the numeric toolkit, on NumPy arrays.

`parse` makes a `ParsedCmc` of a container, and merges a module's calibration into it; `check` tells
what there is to say about a container; `pack` builds one of slots. The toolkit's routines have the
names of the C functions. `qo_cmc.plot` draws lens shading, and `qo_cmc.fleet` works on many
containers.
"""

from qo_cmc._findings import Finding, InvalidContainer, RecordReference, RecordRow, Report
from qo_cmc._gains import PhysicalGains
from qo_cmc._parsed_cmc import ParsedCmc, check, pack, parse
from qo_cmc._parsing import __version__, sample_container, sample_nvm

__all__ = [
    "Finding",
    "InvalidContainer",
    "ParsedCmc",
    "PhysicalGains",
    "RecordReference",
    "RecordRow",
    "Report",
    "__version__",
    "check",
    "pack",
    "parse",
    "sample_container",
    "sample_nvm",
]
