import sys as _dsys, json as _djson
_dbrk = set()
_dstep = 0
def _bp(_dl, _dn, _dt):
 global _dstep
 _dv = {}
 _dg = globals()
 for _k in _dg:
  _dv[_k] = _dg[_k]
 for _k in _dn:
  _dv[_k] = _dn[_k]
 for _k in _dt:
  try:
   _dv[_k] = _dt[_k]()
  except Exception:
   pass
 _r = []
 for _k in _dv:
  if _k.startswith('_'):
   continue
  _x = _dv[_k]
  if callable(_x) or type(_x).__name__ == 'module':
   continue
  try:
   _s = repr(_x)
  except Exception:
   _s = '<repr failed>'
  if len(_s) > 500:
   _s = _s[:500] + '...'
  _r.append({'n': _k, 't': type(_x).__name__, 'v': _s})
 print('\x1e' + _djson.dumps({'line': _dl, 'vars': sorted(_r, key=lambda _q: _q['n'])}) + '\x1e')
 while True:
  _c = _dsys.stdin.readline().strip()
  _c = _c[-1:]
  if _c == 'q':
   raise SystemExit
  if _c == 's':
   _dstep = 1
   return True
  if _c:
   _dstep = 0
   return True