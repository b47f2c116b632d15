import json as _json
_rows=[]
for _k,_v in list(globals().items()):
 if _k.startswith('_') or callable(_v) or type(_v).__name__=='module':
  continue
 try:
  _s=repr(_v)
 except Exception:
  _s='<repr failed>'
 if len(_s)>500:
  _s=_s[:500]+'...'
 _rows.append({'n':_k,'t':type(_v).__name__,'v':_s})
print('__VARS__'+_json.dumps(sorted(_rows,key=lambda r:r['n'])))