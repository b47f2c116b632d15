import sys

class Odd(Exception):
    def __init__(self, value):
        super().__init__('odd', value)
        self.value = value

def check(value):
    if value % 2:
        raise Odd(value)
    return value

for i in range(4):
    try:
        print('even', check(i))
    except Odd as e:
        print('odd', e.value, e.args)
    except (TypeError, KeyError):
        print('never')
try:
    try:
        {}['missing']
    except KeyError as e:
        raise RuntimeError('wrapped')
except RuntimeError as e:
    sys.print_exception(e)
#! breakpoints 16
#> 17 s  i=1  e=Odd('odd', 1)
#> 15 s  i=2
#> 11 c  value=2
#> 17 c  i=3
