import sys
class A:
    def __init__(self, n):
        self.n = n
    def __repr__(self):
        text = 'A%d' % self.n
        return text
a = A(1)
print('repr:', a)
show = print
globals = callable = type = repr = len = print = sorted = Exception = SystemExit = None
__import__ = None
try:
    sys.stdin = None
except AttributeError:
    pass
b = A(2)
show('a and b:', a, b.n)
del globals, callable, type, repr, len, print, sorted, Exception, SystemExit, __import__
#! breakpoints 7 11 19
#> 7 c  text='A1'
#> 11 s  a=A1  !b
#> 12 s  a=A1  !b
#> 14 s  a=A1  !b
#> 16 s  a=A1  !b
#> 17 s  a=A1  !b
#> 4 s  a=A1  n=2
#> 18 c  a=A1  b=A2
#> 7 c  text='A1'  b=A2
#> 19 c  b=A2
