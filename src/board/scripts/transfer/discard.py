import os
try:
 _kf.close()
except (NameError,AttributeError,OSError):
 pass
_kf=_kd=_kh=None
try:
 os.remove(%1)
except OSError:
 pass
print('__OK__')