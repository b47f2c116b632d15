try:
 _kf.close()
except (NameError,AttributeError):
 pass
_kf=_kd=_kh=None
print('__OK__')
