"""The dictionary of the fuzz targets: a fuzzer can read it, and it has a word of every kind.

container_dictionary_test.py PROGRAM ROOT
"""
import re
import subprocess
import sys
import unittest

PROGRAM, ROOT = sys.argv[1:3]
LINE = re.compile(r'([a-z0-9_]+)="((?:\\x[0-9a-f]{2})+)"')


def words():
    """The words by name."""
    text = subprocess.run([PROGRAM], check=True, capture_output=True, text=True).stdout
    found = {}
    for line in text.splitlines():
        match = LINE.fullmatch(line)
        assert match, line
        name, escaped = match.groups()
        assert name not in found, name
        found[name] = bytes.fromhex(escaped.replace('\\x', ''))
    return found


class ContainerDictionary(unittest.TestCase):
    def test_has_each_kind_of_the_library(self):
        with open(ROOT + '/cmc_parser/records/kinds.h', encoding='ascii') as file:
            kinds = [int(kind) for kind in re.findall(r'\bKIND\((\d+),', file.read())]
        self.assertGreater(len(kinds), 30)
        found = words()
        for kind in kinds + [722]:
            self.assertEqual(kind.to_bytes(2, 'little'), found[f'kind_{kind}'])
            self.assertEqual(b'\x65\x00' + kind.to_bytes(2, 'little'), found[f'kind_{kind}_v101'])

    def test_has_the_starts_that_are_documented(self):
        with open(ROOT + '/platform/standin/nvm.c', encoding='ascii') as file:
            magic = re.search(r'image_magic = (0x[0-9a-f]+)', file.read()).group(1)
        self.assertEqual(int(magic, 16).to_bytes(4, 'little'), words()['nvm_start'])

    def test_has_numbers_at_the_ends_of_their_ranges(self):
        found = words()
        self.assertEqual(b'\xff\xff\xff\x7f', found['i32_most'])
        self.assertEqual(b'\x00\x00\x80\x3f', found['f32_one'])
        self.assertEqual(b'\xff' * 16, found['map_without_planes'])


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
