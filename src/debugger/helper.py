_dbrk = set()
_dstep = 0
_dbusy = 0
import sys as _dsys, json as _djson, builtins as _dpy
def _bp(_dl, _dn, _dt):
 global _dbusy
 if _dbusy:
  return
 _dbusy = 1
 try:
  _dstop(_dl, _dn, _dt)
 finally:
  _dbusy = 0
def _dstop(_dl, _dn, _dt, globals=_dpy.globals, callable=_dpy.callable, type=_dpy.type, repr=_dpy.repr, len=_dpy.len, print=_dpy.print, sorted=_dpy.sorted, Exception=_dpy.Exception, SystemExit=_dpy.SystemExit, _din=_dsys.stdin):
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
  _c = _din.readline().strip()
  _c = _c[-1:]
  if _c == 'q':
   raise SystemExit
  if _c == 's':
   _dstep = 1
   return True
  if _c:
   _dstep = 0
   return True