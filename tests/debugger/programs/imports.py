import os, json
from math import floor

with open('helper_module.py', 'w') as f:
    f.write('''
scale = 3
def scaled(x):
    return x * scale
''')
import helper_module
from helper_module import scaled as grow

print(helper_module.scale, grow(7), floor(2.7))
print(json.dumps([1, 'a', None]), json.loads('{"a": [1]}')['a'])
os.remove('helper_module.py')
#! breakpoints 13
#> 13 s
#> 14 s
#> 15 s
