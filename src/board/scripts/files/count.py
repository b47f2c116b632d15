import os
_qn=[0,0]
def _qs(p):
 if hasattr(os,'stat'):
  return os.stat(p)
 try:
  os.listdir(p)
 except (OSError,TypeError):
  return (0,)*7
 return (16384,)*7
def _qc(p):
 s=_qs(p)
 if s[0]&16384:
  for f in os.listdir(p):
   _qc(p+'/'+f)
 else:
  _qn[0]+=1
  _qn[1]+=s[6]
_qc(%1)
print('__COUNT__%d %d'%tuple(_qn))
