"""The package is found by PYTHONPATH alone."""

import qo_cmc


def test_the_package_says_which_version_it_is():
    assert qo_cmc.__version__.count(".") == 2
